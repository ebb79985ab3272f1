#include "tests/support/scratchkey.h"
#include "tests/unit/replay/livekey.h"
#include "trace/replay/livevalue.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace keyreap {
namespace {

class ReadLiveValueTest : public testing::Test {
protected:
    bool Read(const std::wstring& subkey, const std::wstring& name) {
        return ReadLiveValue(currentUserRoot, key.Path(subkey), name, type, data);
    }

    LiveKey key{HKEY_CURRENT_USER, L"Software\\KeyreapLiveValue"};
    std::uint32_t type = 77;
    std::vector<std::uint8_t> data;
};

TEST_F(ReadLiveValueTest, GivesTypeAndData) {
    key.SetValue(L"A", L"V", REG_DWORD, {"\x10\x20\x00\x00", 4});
    EXPECT_TRUE(Read(L"A", L"V"));
    EXPECT_EQ(type, REG_DWORD);
    EXPECT_EQ(data, (std::vector<std::uint8_t>{0x10, 0x20, 0, 0}));
}

TEST_F(ReadLiveValueTest, TheEmptyNameIsTheDefaultValue) {
    key.SetValue(L"A", L"", REG_BINARY, "\x01");
    EXPECT_TRUE(Read(L"A", L""));
    EXPECT_EQ(data, std::vector<std::uint8_t>{1});
}

TEST_F(ReadLiveValueTest, AValueWithoutDataIsReadAsEmpty) {
    key.SetValue(L"A", L"V", REG_BINARY, {});
    data = {1, 2, 3};
    EXPECT_TRUE(Read(L"A", L"V"));
    EXPECT_EQ(type, REG_BINARY);
    EXPECT_TRUE(data.empty());
}

TEST_F(ReadLiveValueTest, ALargeValueIsReadCompletely) {
    key.SetValue(L"A", L"V", REG_BINARY, std::string(300000, '\x42'));
    EXPECT_TRUE(Read(L"A", L"V"));
    EXPECT_EQ(data, std::vector<std::uint8_t>(300000, 0x42));
}

TEST_F(ReadLiveValueTest, AMissingValueFails) {
    key.Make(L"A");
    EXPECT_FALSE(Read(L"A", L"V"));
}

TEST_F(ReadLiveValueTest, AMissingKeyFails) {
    EXPECT_FALSE(Read(L"A", L"V"));
}

TEST_F(ReadLiveValueTest, AKeyThatMayNotBeOpenedFails) {
    key.SetText(L"A", L"V", L"text");
    const testsupport::DeniedKey denied(HKEY_CURRENT_USER, key.Path(L"A").c_str());
    EXPECT_FALSE(Read(L"A", L"V"));
}

TEST_F(ReadLiveValueTest, AKeyThatMayBeReadButNotWrittenFailsToo) {
    key.SetText(L"A", L"V", L"text");
    const testsupport::DeniedKey denied(HKEY_CURRENT_USER, key.Path(L"A").c_str(), KEY_READ);
    EXPECT_FALSE(Read(L"A", L"V"));
}

TEST_F(ReadLiveValueTest, ReadAndWriteAccessIsEnough) {
    key.SetText(L"A", L"V", L"text");
    const testsupport::DeniedKey denied(HKEY_CURRENT_USER, key.Path(L"A").c_str(), 0x2001F);
    EXPECT_TRUE(Read(L"A", L"V"));
}

TEST(HandleOf, IsThePredefinedHandle) {
    EXPECT_EQ(HandleOf(classesRoot), HKEY_CLASSES_ROOT);
    EXPECT_EQ(HandleOf(currentUserRoot), HKEY_CURRENT_USER);
    EXPECT_EQ(HandleOf(localMachineRoot), HKEY_LOCAL_MACHINE);
    EXPECT_EQ(HandleOf(usersRoot), HKEY_USERS);
}

} // namespace
} // namespace keyreap
