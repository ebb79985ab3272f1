#include "platform/core/osversion.h"

#include <gtest/gtest.h>

#include <string>

namespace keyreap {
namespace {

OsVersion Version(std::uint32_t majorVersion, std::uint32_t minorVersion, std::uint32_t servicePack,
                  std::int32_t buildNumber) {
    OsVersion version;
    version.majorVersion = majorVersion;
    version.minorVersion = minorVersion;
    version.servicePack = servicePack;
    version.buildNumber = buildNumber;
    return version;
}

// Words in the form of a multi-string value: a zero after each.
std::wstring Words(std::initializer_list<std::wstring_view> words) {
    std::wstring text;
    for (const std::wstring_view word : words) {
        text += word;
        text += L'\0';
    }
    return text;
}

std::uint16_t SuitesOf(std::initializer_list<std::wstring_view> words) {
    OsVersion version;
    AddProductSuites(version, Words(words));
    return version.suiteMask;
}

TEST(OsVersion, StartsAsAWorkstationOfNoVersion) {
    const OsVersion version;
    EXPECT_EQ(version.majorVersion, 0U);
    EXPECT_EQ(version.minorVersion, 0U);
    EXPECT_EQ(version.buildNumber, 0);
    EXPECT_EQ(version.servicePack, 0U);
    EXPECT_EQ(version.csdVersion[0], L'\0');
    EXPECT_EQ(version.productType, 1);
    EXPECT_EQ(version.suiteMask, 0);
    EXPECT_FALSE(version.isServer);
    EXPECT_FALSE(version.isRead);
}

TEST(VistaVersion, IsSixAndOtherwiseTheStartValues) {
    EXPECT_EQ(VistaVersion().majorVersion, 6U);
    EXPECT_EQ(VistaVersion().minorVersion, 0U);
    EXPECT_EQ(VistaVersion().buildNumber, 0);
    EXPECT_FALSE(VistaVersion().isRead);
}

TEST(Windows10Version, IsTenAndOtherwiseTheStartValues) {
    EXPECT_EQ(Windows10Version().majorVersion, 10U);
    EXPECT_EQ(Windows10Version().minorVersion, 0U);
    EXPECT_EQ(Windows10Version().buildNumber, 0);
    EXPECT_FALSE(Windows10Version().isRead);
}

TEST(IsAtLeast, EqualVersionsAre) {
    EXPECT_TRUE(IsAtLeast(Version(6, 1, 1, 7601), Version(6, 1, 1, 7601)));
    EXPECT_TRUE(IsAtLeast(OsVersion(), OsVersion()));
}

TEST(IsAtLeast, AFirstBuildOfVistaIs) {
    EXPECT_TRUE(IsAtLeast(Version(6, 0, 0, 1), VistaVersion()));
}

TEST(IsAtLeast, TheFirstDifferenceDecides) {
    EXPECT_TRUE(IsAtLeast(Version(10, 0, 0, 0), Version(6, 3, 1, 9600)));
    EXPECT_FALSE(IsAtLeast(Version(6, 3, 1, 9600), Version(10, 0, 0, 0)));
    EXPECT_TRUE(IsAtLeast(Version(6, 1, 0, 0), Version(6, 0, 2, 6002)));
    EXPECT_FALSE(IsAtLeast(Version(6, 0, 2, 6002), Version(6, 1, 0, 0)));
    EXPECT_FALSE(IsAtLeast(Version(6, 1, 1, 7600), Version(6, 1, 1, 7601)));
}

TEST(IsAtLeast, TheServicePackCountsBeforeTheBuildNumber) {
    EXPECT_TRUE(IsAtLeast(Version(6, 1, 1, 1), Version(6, 1, 0, 9999)));
    EXPECT_FALSE(IsAtLeast(Version(6, 1, 0, 9999), Version(6, 1, 1, 1)));
}

TEST(IsAtLeast, ANegativeBuildNumberComparesAsALargeOne) {
    EXPECT_TRUE(IsAtLeast(Version(6, 1, 0, -1), Version(6, 1, 0, 7601)));
}

TEST(IsAtLeast, OnlyTheNumbersCount) {
    OsVersion server = Version(6, 1, 0, 1);
    server.productType = 3;
    server.isServer = true;
    server.isRead = true;
    server.suiteMask = 0xFFFF;
    EXPECT_TRUE(IsAtLeast(Version(6, 1, 0, 1), server));
    EXPECT_TRUE(IsAtLeast(server, Version(6, 1, 0, 1)));
}

TEST(SetVersionFromText, TakesTheFirstAndThirdOfThreeCharacters) {
    OsVersion version;
    SetVersionFromText(version, L"6.1");
    EXPECT_EQ(version.majorVersion, 6U);
    EXPECT_EQ(version.minorVersion, 1U);
}

TEST(SetVersionFromText, AnyOtherLengthChangesNothing) {
    for (const std::wstring_view text : {L"", L"6", L"6.", L"10.0", L"6.1.1"}) {
        OsVersion version = Version(0, 7, 0, 0);
        SetVersionFromText(version, text);
        EXPECT_EQ(version.majorVersion, 0U);
        EXPECT_EQ(version.minorVersion, 7U);
    }
}

TEST(SetServicePack, KeepsTheTextAndItsLastDigit) {
    OsVersion version;
    SetServicePack(version, L"Service Pack 2");
    EXPECT_STREQ(version.csdVersion.data(), L"Service Pack 2");
    EXPECT_EQ(version.servicePack, 2U);
}

TEST(SetServicePack, AnEmptyTextIsServicePackZero) {
    OsVersion version = Version(6, 1, 5, 0);
    SetServicePack(version, L"");
    EXPECT_EQ(version.servicePack, 0U);
    EXPECT_STREQ(version.csdVersion.data(), L"");
}

TEST(SetServicePack, ALongTextIsCutToTheFieldAndStillTerminated) {
    OsVersion version;
    SetServicePack(version, std::wstring(127, L'x') + L"7");
    EXPECT_EQ(std::wstring(version.csdVersion.data()), std::wstring(127, L'x'));
    EXPECT_EQ(version.csdVersion[127], L'\0');
    EXPECT_EQ(version.servicePack, 7U);
}

TEST(SetServicePack, AShorterTextLeavesNothingOfALongerOne) {
    OsVersion version;
    SetServicePack(version, L"Service Pack 2");
    SetServicePack(version, L"1");
    EXPECT_EQ(version.csdVersion[1], L'\0');
    EXPECT_EQ(version.csdVersion[13], L'\0');
}

TEST(SetServicePack, ALastCharacterThatIsNoDigitCountsByItsDistanceFromZero) {
    OsVersion version;
    SetServicePack(version, L"Service Pack A");
    EXPECT_EQ(version.servicePack, 17U);
}

TEST(SetProductType, KnowsWorkstationAndServerAndTakesAllElseForADomainController) {
    const auto typed = [](std::wstring_view text) {
        OsVersion version;
        SetProductType(version, text);
        return version;
    };
    EXPECT_EQ(typed(L"WinNT").productType, 1);
    EXPECT_FALSE(typed(L"WinNT").isServer);
    EXPECT_EQ(typed(L"ServerNT").productType, 3);
    EXPECT_TRUE(typed(L"ServerNT").isServer);
    for (const std::wstring_view text : {L"LanmanNT", L"winnt", L"SERVERNT", L""}) {
        EXPECT_EQ(typed(text).productType, 2);
        EXPECT_TRUE(typed(text).isServer);
    }
}

TEST(AddProductSuites, HasAFlagForEachWord) {
    EXPECT_EQ(SuitesOf({L"Small Business"}), 0x0001);
    EXPECT_EQ(SuitesOf({L"Enterprise"}), 0x0002);
    EXPECT_EQ(SuitesOf({L"BackOffice"}), 0x0004);
    EXPECT_EQ(SuitesOf({L"CommunicationServer"}), 0x0008);
    EXPECT_EQ(SuitesOf({L"Terminal Server"}), 0x0010);
    EXPECT_EQ(SuitesOf({L"Small Business(Restricted)"}), 0x0020);
    EXPECT_EQ(SuitesOf({L"EmbeddedNT"}), 0x0040);
    EXPECT_EQ(SuitesOf({L"DataCenter"}), 0x0080);
    EXPECT_EQ(SuitesOf({L"Personal"}), 0x0200);
    EXPECT_EQ(SuitesOf({L"Blade"}), 0x0400);
    EXPECT_EQ(SuitesOf({L"Embedded(Restricted)"}), 0x0800);
    EXPECT_EQ(SuitesOf({L"Security Appliance"}), 0x1000);
    EXPECT_EQ(SuitesOf({L"Storage Server"}), 0x2000);
    EXPECT_EQ(SuitesOf({L"Compute Server"}), 0x4000);
}

TEST(AddProductSuites, AddsTheFlagsOfAllItsWords) {
    EXPECT_EQ(SuitesOf({L"Terminal Server", L"DataCenter", L"Terminal Server"}), 0x0090);
    OsVersion version;
    version.suiteMask = 0x0001;
    AddProductSuites(version, Words({L"Blade"}));
    EXPECT_EQ(version.suiteMask, 0x0401);
}

TEST(AddProductSuites, ComparesExactlyAndPassesOverUnknownWords) {
    EXPECT_EQ(SuitesOf({L"enterprise", L"Enterprise ", L"WH Server", L"Blade"}), 0x0400);
}

TEST(AddProductSuites, StopsAtTheFirstEmptyWord) {
    EXPECT_EQ(SuitesOf({L"Blade", L"", L"Enterprise"}), 0x0400);
    EXPECT_EQ(SuitesOf({L"", L"Enterprise"}), 0);
    EXPECT_EQ(SuitesOf({}), 0);
}

TEST(AddProductSuites, TakesALastWordWithoutItsZero) {
    OsVersion version;
    AddProductSuites(version, L"Personal");
    EXPECT_EQ(version.suiteMask, 0x0200);
}

} // namespace
} // namespace keyreap
