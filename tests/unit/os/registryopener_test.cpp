#include "platform/os/registryopener.h"
#include "tests/support/scratchkey.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

class RegistryOpenerTest : public testing::Test {
protected:
    testsupport::ScratchKey scratch;
    OwnedRegistryKey key;
};

TEST_F(RegistryOpenerTest, OpensAnExistingKeyBelowAnOpenOne) {
    scratch.Make(L"A\\B");
    EXPECT_EQ(OpenRegistryKey(scratch.Handle(), L"A\\B", KEY_READ, key), ERROR_SUCCESS);
    EXPECT_TRUE(key.Valid());
}

TEST_F(RegistryOpenerTest, OpenReturnsTheStatusAndCreatesNothing) {
    EXPECT_EQ(OpenRegistryKey(scratch.Handle(), L"Missing", KEY_READ, key), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(key.Valid());
    EXPECT_FALSE(scratch.Has(L"Missing"));
}

TEST_F(RegistryOpenerTest, CreateMakesTheKeyAndItsParents) {
    EXPECT_EQ(CreateRegistryKey(scratch.Handle(), L"A\\B\\C", KEY_READ | KEY_WRITE, key), ERROR_SUCCESS);
    EXPECT_TRUE(key.Valid());
    EXPECT_TRUE(scratch.Has(L"A\\B\\C"));
}

TEST_F(RegistryOpenerTest, CreateOpensAnExistingKey) {
    scratch.SetText(L"A", L"name", L"text");
    ASSERT_EQ(CreateRegistryKey(scratch.Handle(), L"A", KEY_READ, key), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExW(key.Get(), L"name", nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
}

TEST_F(RegistryOpenerTest, SuccessReplacesTheKeyAndClosesTheOld) {
    scratch.Make(L"A");
    ASSERT_EQ(OpenRegistryKey(HKEY_CURRENT_USER, L"Software", KEY_READ, key), ERROR_SUCCESS);
    const HKEY before = key.Get();
    ASSERT_EQ(OpenRegistryKey(scratch.Handle(), L"A", KEY_READ, key), ERROR_SUCCESS);
    EXPECT_NE(key.Get(), before);
    EXPECT_NE(RegFlushKey(before), ERROR_SUCCESS);
}

TEST_F(RegistryOpenerTest, FailureLeavesAWorkingKeyUntouched) {
    ASSERT_EQ(OpenRegistryKey(HKEY_CURRENT_USER, L"Software", KEY_READ, key), ERROR_SUCCESS);
    const HKEY before = key.Get();
    EXPECT_NE(OpenRegistryKey(scratch.Handle(), L"Missing", KEY_READ, key), ERROR_SUCCESS);
    EXPECT_EQ(OpenRegistryKey(nullptr, L"Missing", KEY_READ, key), ERROR_INVALID_HANDLE);
    EXPECT_EQ(CreateRegistryKey(nullptr, L"Missing", KEY_READ, key), ERROR_INVALID_HANDLE);
    EXPECT_EQ(key.Get(), before);
    EXPECT_EQ(RegQueryInfoKeyW(before, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr),
              ERROR_SUCCESS);
}

TEST_F(RegistryOpenerTest, AKeyOpenedForReadingTakesNoValue) {
    ASSERT_EQ(OpenRegistryKey(HKEY_CURRENT_USER, testsupport::ScratchKey::path, KEY_READ, key),
              ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExW(key.Get(), L"v", 0, REG_SZ, nullptr, 0), ERROR_ACCESS_DENIED);
}

} // namespace
} // namespace keyreap
