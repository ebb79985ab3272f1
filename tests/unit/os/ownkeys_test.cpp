#include "platform/os/ownkeys.h"
#include "platform/os/registryopener.h"
#include "platform/os/winehost.h"

#include <gtest/gtest.h>

#include <string>

namespace keyreap {
namespace {

bool IsRedirected() {
    return sizeof(void*) == 4 && RunsOnWine();
}

// The expected view of each of the program's own keys.
REGSAM OwnView() {
    return IsRedirected() ? KEY_WOW64_64KEY : 0;
}

TEST(OwnKeys, AreNamedInThe64BitViewOnlyBy32BitProgramsUnderWine) {
    EXPECT_EQ(ViewOfOwnKey(HKEY_CURRENT_USER, L"Software\\Velmoro"), OwnView());
    EXPECT_EQ(ViewOfOwnKey(HKEY_CURRENT_USER, L"Software\\Velmoro\\Tesselink\\Temporary\\HKLM"), OwnView());
}

TEST(OwnKeys, AreKnownInAnyCaseAndWithDoubledBackslashes) {
    EXPECT_EQ(ViewOfOwnKey(HKEY_CURRENT_USER, L"SOFTWARE\\velmoro\\X"), OwnView());
    EXPECT_EQ(ViewOfOwnKey(HKEY_CURRENT_USER, L"Software\\\\Velmoro\\\\Tesselink\\\\"), OwnView());
}

TEST(OwnKeys, DoNotIncludeOtherKeysOfTheUser) {
    for (const wchar_t* other : {L"", L"Software", L"Software\\Velmoros", L"Software\\Velmor",
                                 L"Software\\Other\\Software\\Velmoro", L"Velmoro"}) {
        EXPECT_EQ(ViewOfOwnKey(HKEY_CURRENT_USER, other), 0U) << other;
    }
}

TEST(OwnKeys, AreNotBelowAnyOtherRoot) {
    for (const HKEY root : {HKEY_CLASSES_ROOT, HKEY_LOCAL_MACHINE, HKEY_USERS}) {
        EXPECT_EQ(ViewOfOwnKey(root, L"Software\\Velmoro\\Tesselink"), 0U);
    }
    EXPECT_EQ(ViewOfOwnKey(nullptr, L"Software\\Velmoro\\Tesselink"), 0U);
}

// One of the program's own keys, with a Wow6432Node inside.
class OwnKeysTest : public testing::Test {
protected:
    static constexpr wchar_t path[] = L"Software\\Velmoro\\KeyreapScratch";

    OwnKeysTest() {
        Make(L"");
        Make(L"\\Key\\Wow6432Node");
    }
    ~OwnKeysTest() override {
        for (const wchar_t* below :
             {L"\\Key\\Wow6432Node\\Below", L"\\Key\\Wow6432Node", L"\\Key\\Below", L"\\Key", L""}) {
            RegDeleteKeyExW(HKEY_CURRENT_USER, (path + std::wstring(below)).c_str(), KEY_WOW64_64KEY, 0);
        }
    }

    static void Make(const std::wstring& below) {
        HKEY opened = nullptr;
        EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, (path + below).c_str(), 0, nullptr, 0,
                                  KEY_READ | KEY_WOW64_64KEY, nullptr, &opened, nullptr),
                  ERROR_SUCCESS);
        RegCloseKey(opened);
    }
    static bool Has(const std::wstring& below) {
        HKEY opened = nullptr;
        const LSTATUS status =
            RegOpenKeyExW(HKEY_CURRENT_USER, (path + below).c_str(), 0, KEY_READ | KEY_WOW64_64KEY, &opened);
        RegCloseKey(opened);
        return status == ERROR_SUCCESS;
    }

    OwnedRegistryKey scratch;
    OwnedRegistryKey key;
};

TEST_F(OwnKeysTest, AreOpenedDespiteANode) {
    Make(L"\\Key\\Below");
    EXPECT_EQ(
        OpenRegistryKey(HKEY_CURRENT_USER, (path + std::wstring(L"\\Key\\Below")).c_str(), KEY_READ, key),
        ERROR_SUCCESS);
    ASSERT_EQ(OpenRegistryKey(HKEY_CURRENT_USER, path, KEY_READ, scratch), ERROR_SUCCESS);
    EXPECT_EQ(OpenRegistryKey(scratch.Get(), L"Key\\Below", KEY_READ, key), ERROR_SUCCESS);
    ASSERT_EQ(OpenRegistryKey(scratch.Get(), L"Key", KEY_READ, key), ERROR_SUCCESS);
    wchar_t name[40];
    ASSERT_EQ(RegEnumKeyW(key.Get(), 0, name, 40), ERROR_SUCCESS);
    EXPECT_STREQ(name, L"Below");
}

TEST_F(OwnKeysTest, AreKnownByAHandleHoweverLongItsName) {
    std::wstring longPath = path;
    for (int level = 0; level < 5; ++level) {
        longPath += L"\\" + std::wstring(200, L'k');
        ASSERT_EQ(CreateRegistryKey(HKEY_CURRENT_USER, longPath.c_str(), KEY_READ | KEY_WRITE, key),
                  ERROR_SUCCESS);
    }
    EXPECT_EQ(ViewOfOwnKey(key.Get(), L"Below"), OwnView());
    RegDeleteTreeW(HKEY_CURRENT_USER, (path + std::wstring(L"\\") + std::wstring(200, L'k')).c_str());
    ASSERT_EQ(OpenRegistryKey(HKEY_CURRENT_USER, L"Software", KEY_READ, key), ERROR_SUCCESS);
    EXPECT_EQ(ViewOfOwnKey(key.Get(), L"Below"), 0U);
    EXPECT_EQ(ViewOfOwnKey(key.Get(), L"Velmoro\\Below"), OwnView());
}

TEST_F(OwnKeysTest, AreCreatedNextToANode) {
    ASSERT_EQ(OpenRegistryKey(HKEY_CURRENT_USER, path, KEY_READ | KEY_WRITE, scratch), ERROR_SUCCESS);
    EXPECT_EQ(CreateRegistryKey(scratch.Get(), L"Key\\Below", KEY_READ, key), ERROR_SUCCESS);
    EXPECT_TRUE(Has(L"\\Key\\Below"));
    EXPECT_FALSE(Has(L"\\Key\\Wow6432Node\\Below"));
}

TEST_F(OwnKeysTest, AreDeletedUnderTheirOwnNameInsteadOfTheNode) {
    ASSERT_EQ(OpenRegistryKey(HKEY_CURRENT_USER, path, KEY_READ | KEY_WRITE, scratch), ERROR_SUCCESS);
    EXPECT_EQ(DeleteRegistryKey(scratch.Get(), L"Key"), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(Has(L"\\Key\\Wow6432Node"));
    EXPECT_EQ(DeleteRegistryKey(scratch.Get(), L"Key\\Wow6432Node"), ERROR_SUCCESS);
    EXPECT_EQ(DeleteRegistryKey(scratch.Get(), L"Key"), ERROR_SUCCESS);
    EXPECT_FALSE(Has(L"\\Key"));
}

} // namespace
} // namespace keyreap
