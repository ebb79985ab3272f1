#include "platform/core/osversionregistry.h"
#include "tests/support/scratchkey.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

const std::wstring versionKey = L"Software\\Microsoft\\Windows NT\\CurrentVersion";
const std::wstring optionsKey = L"SYSTEM\\CurrentControlSet\\Control\\ProductOptions";

class OsVersionRegistryTest : public testing::Test {
protected:
    void SetNumber(const wchar_t* name, DWORD number) {
        machine.SetValue(versionKey, name, REG_DWORD, &number, sizeof(number));
    }
    void SetVersionText(const wchar_t* name, std::wstring_view text) {
        machine.SetText(versionKey, name, text);
    }
    void SetSuites(std::wstring_view words) {
        machine.SetValue(optionsKey, L"ProductSuite", REG_MULTI_SZ, words.data(),
                         words.size() * sizeof(wchar_t));
    }

    const OsVersion& Read() {
        ReadOsVersionBelow(machine.Handle(), record);
        return record;
    }

    testsupport::ScratchKey machine;
    OsVersion record;
};

TEST_F(OsVersionRegistryTest, WithoutTheKeyTheRecordStaysAsItIs) {
    record.majorVersion = 5;
    machine.SetText(optionsKey, L"ProductType", L"ServerNT");
    Read();
    EXPECT_FALSE(record.isRead);
    EXPECT_EQ(record.majorVersion, 5U);
    EXPECT_EQ(record.productType, 1);
}

TEST_F(OsVersionRegistryTest, AnEmptyKeyIsReadAndLeavesTheStartValues) {
    machine.Make(versionKey);
    EXPECT_TRUE(Read().isRead);
    EXPECT_EQ(record.majorVersion, 0U);
    EXPECT_EQ(record.minorVersion, 0U);
    EXPECT_EQ(record.buildNumber, 0);
    EXPECT_EQ(record.servicePack, 0U);
    EXPECT_EQ(record.productType, 1);
    EXPECT_EQ(record.suiteMask, 0);
    EXPECT_FALSE(record.isServer);
}

TEST_F(OsVersionRegistryTest, WithAMajorNumberTheTextIsNotRead) {
    SetNumber(L"CurrentMajorVersionNumber", 10);
    SetNumber(L"CurrentMinorVersionNumber", 0);
    SetVersionText(L"CurrentVersion", L"6.3");
    EXPECT_EQ(Read().majorVersion, 10U);
    EXPECT_EQ(record.minorVersion, 0U);
}

TEST_F(OsVersionRegistryTest, WithoutAMajorNumberATextOfThreeCharactersIsRead) {
    SetVersionText(L"CurrentVersion", L"6.1");
    EXPECT_EQ(Read().majorVersion, 6U);
    EXPECT_EQ(record.minorVersion, 1U);
}

TEST_F(OsVersionRegistryTest, AMajorNumberOfZeroCountsAsMissing) {
    SetNumber(L"CurrentMajorVersionNumber", 0);
    SetNumber(L"CurrentMinorVersionNumber", 4);
    SetVersionText(L"CurrentVersion", L"5.2");
    EXPECT_EQ(Read().majorVersion, 5U);
    EXPECT_EQ(record.minorVersion, 2U);
}

TEST_F(OsVersionRegistryTest, ATextOfFourCharactersIsIgnored) {
    SetVersionText(L"CurrentVersion", L"10.0");
    EXPECT_EQ(Read().majorVersion, 0U);
    EXPECT_EQ(record.minorVersion, 0U);
    EXPECT_TRUE(record.isRead);
}

TEST_F(OsVersionRegistryTest, AVersionTextOfMoreThan32BytesIsNotRead) {
    machine.SetValue(versionKey, L"CurrentVersion", REG_SZ, L"6.1\0garbage garbage", 40);
    EXPECT_EQ(Read().majorVersion, 0U);
}

TEST_F(OsVersionRegistryTest, ATextWithoutItsZeroIsReadWhole) {
    machine.SetValue(versionKey, L"CurrentVersion", REG_SZ, L"6.1x", 6);
    EXPECT_EQ(Read().majorVersion, 6U);
}

TEST_F(OsVersionRegistryTest, AVersionNumberOfAnotherTypeCountsZero) {
    SetVersionText(L"CurrentMajorVersionNumber", L"1");
    EXPECT_EQ(Read().majorVersion, 0U);
}

TEST_F(OsVersionRegistryTest, TheBuildNumberIsADecimalText) {
    SetVersionText(L"CurrentBuildNumber", L"19045");
    EXPECT_EQ(Read().buildNumber, 19045);
}

TEST_F(OsVersionRegistryTest, TheBuildNumberEndsAtTheFirstOtherCharacterAndMayBeNegative) {
    SetVersionText(L"CurrentBuildNumber", L"-76.1");
    EXPECT_EQ(Read().buildNumber, -76);
}

TEST_F(OsVersionRegistryTest, ABuildNumberOfAnotherTypeIsNotRead) {
    SetNumber(L"CurrentBuildNumber", 7601);
    EXPECT_EQ(Read().buildNumber, 0);
}

TEST_F(OsVersionRegistryTest, TheServicePackIsTheTextsLastDigit) {
    SetVersionText(L"CSDVersion", L"Service Pack 1");
    EXPECT_EQ(Read().servicePack, 1U);
    EXPECT_STREQ(record.csdVersion.data(), L"Service Pack 1");
}

TEST_F(OsVersionRegistryTest, AnEmptyServicePackTextIsServicePackZero) {
    SetVersionText(L"CSDVersion", L"");
    EXPECT_EQ(Read().servicePack, 0U);
}

TEST_F(OsVersionRegistryTest, AServicePackTextOf520BytesStaysWithinItsField) {
    SetVersionText(L"CSDVersion", std::wstring(258, L'x') + L"3");
    EXPECT_EQ(Read().servicePack, 3U);
    EXPECT_EQ(std::wstring(record.csdVersion.data()).size(), 127U);
}

TEST_F(OsVersionRegistryTest, ATextOfMoreThan520BytesIsNotRead) {
    SetVersionText(L"CSDVersion", std::wstring(259, L'x') + L"3");
    SetVersionText(L"CurrentBuildNumber", std::wstring(260, L'1'));
    EXPECT_EQ(Read().servicePack, 0U);
    EXPECT_STREQ(record.csdVersion.data(), L"");
    EXPECT_EQ(record.buildNumber, 0);
}

TEST_F(OsVersionRegistryTest, TheProductTypeMarksAServer) {
    machine.Make(versionKey);
    machine.SetText(optionsKey, L"ProductType", L"ServerNT");
    EXPECT_EQ(Read().productType, 3);
    EXPECT_TRUE(record.isServer);
}

TEST_F(OsVersionRegistryTest, AnUnknownProductTypeIsADomainController) {
    machine.Make(versionKey);
    machine.SetText(optionsKey, L"ProductType", L"LanmanNT");
    EXPECT_EQ(Read().productType, 2);
    EXPECT_TRUE(record.isServer);
}

TEST_F(OsVersionRegistryTest, AMissingProductTypeLeavesBothFields) {
    record.productType = 3;
    record.isServer = true;
    machine.Make(versionKey);
    machine.Make(optionsKey);
    EXPECT_EQ(Read().productType, 3);
    EXPECT_TRUE(record.isServer);
}

TEST_F(OsVersionRegistryTest, TheProductSuitesAddTheirFlags) {
    machine.Make(versionKey);
    SetSuites(std::wstring_view(L"Terminal Server\0Nothing\0Blade\0\0Enterprise\0", 42));
    EXPECT_EQ(Read().suiteMask, 0x0410);
}

TEST_F(OsVersionRegistryTest, SuitesOfMoreThan2048BytesAreNotRead) {
    machine.Make(versionKey);
    const auto ofUnits = [](std::size_t units) {
        std::wstring words(L"Blade\0", 6);
        words.resize(units - 1, L'x');
        return words + L'\0';
    };
    SetSuites(ofUnits(1024));
    EXPECT_EQ(Read().suiteMask, 0x0400);
    record.suiteMask = 0;
    SetSuites(ofUnits(1025));
    EXPECT_EQ(Read().suiteMask, 0);
}

TEST_F(OsVersionRegistryTest, SuitesOfAnotherTypeAreNotRead) {
    machine.Make(versionKey);
    machine.SetText(optionsKey, L"ProductSuite", L"Blade");
    EXPECT_EQ(Read().suiteMask, 0);
}

TEST(RunningVersion, IsReadOnceFromThisMachine) {
    const OsVersion& version = RunningVersion();
    EXPECT_TRUE(version.isRead);
    EXPECT_TRUE(IsAtLeast(version, VistaVersion()));
    EXPECT_EQ(&version, &RunningVersion());
}

TEST(ReadRunningOsVersion, SeesTheSameMachineAsTheRecordOfTheProcess) {
    OsVersion version;
    ReadRunningOsVersion(version);
    EXPECT_TRUE(IsAtLeast(version, RunningVersion()));
    EXPECT_TRUE(IsAtLeast(RunningVersion(), version));
}

} // namespace
} // namespace keyreap
