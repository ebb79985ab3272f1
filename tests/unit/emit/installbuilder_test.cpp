#include "kit/emit/installbuilder.h"
#include "tests/unit/emit/emittest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testsupport::Emitted;
using testsupport::EmittedOf;
using testsupport::SettingsOf;

constexpr std::wstring_view path = L"@=\"Z:\\\\build\\\\bin\\\\a.dll\"";

// The units of a text and a NUL, as the bytes of an entry.
std::wstring HexOf(std::wstring_view text) {
    std::wstring hex;
    for (const std::uint8_t byte : UnitData(std::wstring(text) + L'\0')) {
        constexpr std::wstring_view digits = L"0123456789abcdef";
        hex += {digits[byte >> 4], digits[byte & 15], L','};
    }
    hex.pop_back();
    return hex;
}

std::vector<std::wstring> KeysOf(const InstallComponent& component) {
    std::vector<std::wstring> keys;
    for (const InstallKey& key : component.keys) {
        keys.push_back(key.path);
    }
    return keys;
}

std::vector<std::wstring> IdsOf(const InstallData& data) {
    std::vector<std::wstring> ids;
    for (const InstallComponent& component : data.components) {
        ids.push_back(component.id);
    }
    return ids;
}

TEST(InstallDataOf, KeysWithValuesAndLeavesAreCarried) {
    constexpr std::wstring_view appId = L"[HKEY_CLASSES_ROOT\\AppID\\x.exe]";
    const Emitted emitted =
        EmittedOf({L"[HKEY_CLASSES_ROOT\\AppID]", appId, path, L"[HKEY_CLASSES_ROOT\\AppID\\x.exe\\own]",
                   L"[HKEY_LOCAL_MACHINE\\Software]", L"[HKEY_LOCAL_MACHINE\\Software\\shared]"});
    EXPECT_THAT(emitted.notes, IsEmpty());
    ASSERT_THAT(emitted.data.components, SizeIs(1));
    const InstallComponent& component = emitted.data.components.front();
    EXPECT_THAT(KeysOf(component), ElementsAre(L"Software\\Classes\\AppID\\x.exe",
                                               L"Software\\Classes\\AppID\\x.exe\\own", L"Software\\shared"));
    EXPECT_FALSE(component.keys[0].isOwn);
    EXPECT_TRUE(component.keys[1].isOwn);
    EXPECT_FALSE(component.keys[2].isOwn);
}

TEST(InstallDataOf, SectionsOfTheSameKeyAreOne) {
    const Emitted emitted =
        EmittedOf({L"[HKEY_CLASSES_ROOT\\x]", path, L"[HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\X]",
                   L"\"n\"=\"v\"", L"\"N\"=\"v\""});
    EXPECT_THAT(emitted.notes, IsEmpty());
    ASSERT_THAT(emitted.data.components.at(0).keys, SizeIs(1));
    EXPECT_THAT(emitted.data.components[0].keys[0].values, SizeIs(2));
}

TEST(InstallDataOf, AValueWithTwoDataIsNamed) {
    const Emitted emitted =
        EmittedOf({L"[HKEY_CLASSES_ROOT\\x]", path, L"\"n\"=\"1\"", L"\"n\"=\"2\"", L"\"n\"=dword:00000001"});
    EXPECT_THAT(emitted.Reasons(), ElementsAre(L"HKEY_CLASSES_ROOT\\x|n: has other data in line 5 of a.reg",
                                               L"HKEY_CLASSES_ROOT\\x|n: has other data in line 5 of a.reg"));
}

TEST(InstallDataOf, WhatIsNotCarriedIsNamed) {
    const Emitted emitted =
        EmittedOf({L"[HKEY_CLASSES_ROOT\\x]", path, L"\"deleted\"=-", L"\"empty\"=",
                   L"\"filler\"=\"\x5555\x5555\x5555\x5555\x5555\x5555\x5555\x5555\x5555\x5555\"",
                   L"\"short\"=hex(4):01", L"\"hole\"=hex(7):61,00,00,00,00,00,62,00,00,00",
                   L"\"after\"=hex(1):61,00,00,00,62,00", L"[-HKEY_CLASSES_ROOT\\y]", L"[HKEY_OTHER\\z]",
                   L"[HKEY_LOCAL_MACHINE]", L"\"n\"=\"v\""});
    EXPECT_THAT(emitted.Reasons(),
                ElementsAre(L"HKEY_CLASSES_ROOT\\x|deleted: is a deletion",
                            L"HKEY_CLASSES_ROOT\\x|empty: has no data",
                            L"HKEY_CLASSES_ROOT\\x|filler: could not be read when it was captured",
                            L"HKEY_CLASSES_ROOT\\x|short: is a number that has not four bytes",
                            L"HKEY_CLASSES_ROOT\\x|hole: has an empty text in its list",
                            L"HKEY_CLASSES_ROOT\\x|after: has data after the end of its text",
                            L"HKEY_CLASSES_ROOT\\y: is a deletion", L"HKEY_OTHER\\z: is in no known root",
                            L"HKEY_LOCAL_MACHINE|n: is in a root itself"));
    EXPECT_THAT(emitted.data.components.at(0).keys.at(0).values, SizeIs(1));
}

TEST(InstallDataOf, AKeyThatNoServerRegisteredIsNamed) {
    const Emitted emitted =
        EmittedOf({L"[HKEY_CLASSES_ROOT\\x]", path,
                   L"[HKEY_CURRENT_USER\\SOFTWARE\\velmoro\\Tesselink\\Temporary\\HKCR]", L"@=\"a\"",
                   L"\"n\"=\"b\"", L"[HKEY_USERS\\.DEFAULT\\Software\\Velmoro\\Tesselink\\Temporary]",
                   L"[HKEY_LOCAL_MACHINE\\S-1-12-1-1-2-3-4\\Software\\K]", L"@=\"c\"",
                   L"[UNKNOWN!!Software\\K]", L"@=\"d\""});
    EXPECT_THAT(
        emitted.Reasons(),
        ElementsAre(
            L"HKEY_CURRENT_USER\\SOFTWARE\\velmoro\\Tesselink\\Temporary\\HKCR|: is a key of the temporary "
            L"tree of "
            L"the capture",
            L"HKEY_CURRENT_USER\\SOFTWARE\\velmoro\\Tesselink\\Temporary\\HKCR|n: is a key of the temporary "
            L"tree of "
            L"the capture",
            L"HKEY_USERS\\.DEFAULT\\Software\\Velmoro\\Tesselink\\Temporary: is a key of the temporary tree "
            L"of the "
            L"capture",
            L"HKEY_LOCAL_MACHINE\\S-1-12-1-1-2-3-4\\Software\\K|: is a key of an account whose registry the "
            L"capture "
            L"doesn't know",
            L"UNKNOWN!!Software\\K|: is a key of an account whose registry the capture doesn't know"));
    EXPECT_THAT(emitted.data.components, SizeIs(1));
    EXPECT_THAT(KeysOf(emitted.data.components.at(0)), ElementsAre(L"Software\\Classes\\x"));
}

TEST(InstallDataOf, ATextWithTheTemporaryTreeIsNamed) {
    const Emitted emitted = EmittedOf(
        {L"[HKEY_CLASSES_ROOT\\x]", path,
         L"[HKEY_CURRENT_USER\\Software\\Velmoro\\Tesselink\\Temporary files]",
         L"\"near\"=\"Velmoro\\\\Tesselink\\\\Temporary\"",
         L"\"text\"=\"HKCU\\\\software\\\\Velmoro\\\\Tesselink\\\\Temporary\\\\HKLM\"",
         L"\"list\"=hex(7):" + HexOf(std::wstring_view(L"a\0Software\\Velmoro\\Tesselink\\Temporary\0", 40)),
         L"\"expand\"=hex(2):" + HexOf(L"Software\\Velmoro\\Tesselink\\Temporary")});
    const std::wstring reason = L": has the name of a key of the temporary tree of the capture";
    const std::wstring key = L"HKEY_CURRENT_USER\\Software\\Velmoro\\Tesselink\\Temporary files|";
    EXPECT_THAT(emitted.Reasons(),
                ElementsAre(key + L"text" + reason, key + L"list" + reason, key + L"expand" + reason));
    EXPECT_THAT(emitted.data.components.at(1).keys.at(0).values, SizeIs(1));
}

TEST(InstallDataOf, ACaptureWithoutAnyValueIsNamed) {
    const std::wstring none = L": no value was captured";
    const std::wstring unnamed = L": no entry names Z:\\build\\bin\\a.dll";
    EXPECT_THAT(EmittedOf({L"[HKEY_CLASSES_ROOT]", L"[HKEY_CURRENT_USER\\Software\\x]"}).Reasons(),
                ElementsAre(none, unnamed));
    EXPECT_THAT(EmittedOf({L"[HKEY_CLASSES_ROOT\\x]", L"\"n\"=-"}).Reasons(),
                ElementsAre(none, L"HKEY_CLASSES_ROOT\\x|n: is a deletion", unnamed));
    EXPECT_THAT(EmittedOf({L"[HKEY_CLASSES_ROOT\\x]", L"@=\"a\""}).Reasons(), ElementsAre(unnamed));
}

TEST(InstallDataOf, AHarvestsOtherTextIsNamedAndItsOwnKeysAreNot) {
    const Emitted emitted =
        EmittedOf({L"[HKEY_CLASSES_ROOT]", L"[HKEY_CLASSES_ROOT\\x]", path, L"\"q\"=hex(b):16",
                   L"[HKEY_CURRENT_USER]", L"[HKEY_USERS]", L"[HKEY_LOCAL_MACHINE]",
                   L"[HKEY_LOCAL_MACHINE\\Software]", L"[HKEY_LOCAL_MACHINE\\Software\\Classes]"});
    EXPECT_THAT(emitted.Reasons(),
                ElementsAre(L"HKEY_CLASSES_ROOT\\x|q: has another value's text in the place of its data"));
    EXPECT_THAT(KeysOf(emitted.data.components.at(0)), ElementsAre(L"Software\\Classes\\x"));
}

TEST(InstallDataOf, DamagedEntriesHaveTheirData) {
    const Emitted emitted = EmittedOf({L"[HKEY_CLASSES_ROOT\\x]", path, L"\"lone\"=\"\\\"",
                                       L"\"comma\"=hex(2):,00,00", L"\"list\"=hex(7):,00,00"});
    EXPECT_THAT(emitted.notes, IsEmpty());
    const std::vector<InstallValue>& values = emitted.data.components.at(0).keys.at(0).values;
    ASSERT_THAT(values, SizeIs(4));
    EXPECT_EQ(values[1].text.at(0).text, L"\\");
    EXPECT_THAT(values[2].text, IsEmpty());
    EXPECT_THAT(values[3].list, IsEmpty());
}

TEST(InstallDataOf, APathThatIsLeftIsNamedAndCarried) {
    const Emitted emitted = EmittedOf({L"[HKEY_CLASSES_ROOT\\x]", path, L"\"a\"=\"C:\\\\other\\\\b.dll\"",
                                       L"\"b\"=hex:5a,3a,5c,62,75,69,6c,64,5c,62,69,6e",
                                       L"\"c\"=hex(7):44,00,3a,00,5c,00,78,00,00,00,00,00"});
    EXPECT_THAT(emitted.Reasons(),
                ElementsAre(L"HKEY_CLASSES_ROOT\\x|a: has a path of the build machine: C:\\other\\b.dll",
                            L"HKEY_CLASSES_ROOT\\x|b: has a path of the build machine in its bytes",
                            L"HKEY_CLASSES_ROOT\\x|c: has a path of the build machine: D:\\x"));
    EXPECT_THAT(emitted.data.components.at(0).keys.at(0).values, SizeIs(4));
}

TEST(InstallDataOf, AFileThatNoEntryNamesIsNamed) {
    InstallSettings settings = SettingsOf({L"a.dll", L"b.dll"});
    settings.replacements.push_back({L"C:\\nowhere", false, {PieceKind::Directory, L"N", 0}});
    const Emitted emitted = EmittedOf(settings, {L"[HKEY_CLASSES_ROOT\\x]", path});
    EXPECT_THAT(emitted.Reasons(),
                ElementsAre(L": no entry names C:\\nowhere", L": no entry names Z:\\build\\bin\\b.dll"));
}

TEST(InstallDataOf, ANameAloneIsTheServersOnlyInThePlaceOfAFile) {
    const Emitted emitted =
        EmittedOf({L"[HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}]", L"@=\"a.dll\"",
                   L"[HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}\\INPROCSERVER32]",
                   L"@=\"a.dll\"", L"\"n\"=\"a.dll\""});
    const std::vector<InstallKey>& keys = emitted.data.components.at(0).keys;
    EXPECT_TRUE(IsLiteral(keys.at(0).values.at(0).text));
    EXPECT_FALSE(IsLiteral(keys.at(1).values.at(0).text));
    EXPECT_TRUE(IsLiteral(keys.at(1).values.at(1).text));
}

TEST(InstallDataOf, ObjectsGoToTheServerThatTheyName) {
    const Emitted emitted = EmittedOf(
        SettingsOf({L"a.dll", L"b.dll"}),
        {L"[HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}]", L"@=\"first\"",
         L"[HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}\\InprocServer32]", path,
         L"[HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8878}]", L"@=\"second\"",
         L"[HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8878}\\InprocServer32]",
         L"@=\"Z:\\\\build\\\\bin\\\\b.dll\"", L"[HKEY_LOCAL_MACHINE\\Software\\x]", L"@=\"none\""});
    ASSERT_THAT(IdsOf(emitted.data), ElementsAre(L"a_x64", L"b_x64"));
    EXPECT_THAT(emitted.data.components[0].keys, SizeIs(3));
    EXPECT_THAT(emitted.data.components[1].keys, SizeIs(2));
}

TEST(InstallDataOf, WhatOthersNeedAndWhatIsAUsersAreComponentsOfTheirOwn) {
    const Emitted emitted =
        EmittedOf({L"[HKEY_CLASSES_ROOT\\x]", path,
                   L"[HKEY_CLASSES_ROOT\\Interface\\{00020400-0000-0000-C000-000000000046}]",
                   L"@=\"IDispatch\"", L"[HKEY_CURRENT_USER\\Software\\x]", L"@=\"u\""});
    ASSERT_THAT(IdsOf(emitted.data), ElementsAre(L"a_x64", L"a_x64_kept", L"a_x64_user"));
    EXPECT_TRUE(emitted.data.components[1].isKept);
    EXPECT_TRUE(emitted.data.components[2].isPerUser);
    InstallSettings user = SettingsOf();
    user.scope = InstallScope::User;
    EXPECT_THAT(IdsOf(EmittedOf(user, {L"[HKEY_CLASSES_ROOT\\x]", path, L"[HKEY_CURRENT_USER\\Software\\x]",
                                       L"@=\"u\""})
                          .data),
                ElementsAre(L"a_x64"));
}

TEST(InstallDataOf, TheGuidFollowsFromTheProductAndNotFromTheEntries) {
    const auto guidOf = [](const InstallSettings& settings, std::wstring_view key) {
        return EmittedOf(settings, {key, path}).data.components.at(0).guid;
    };
    const InstallSettings plain = SettingsOf();
    const std::wstring guid = guidOf(plain, L"[HKEY_CLASSES_ROOT\\x]");
    EXPECT_EQ(guidOf(plain, L"[HKEY_CLASSES_ROOT\\y]"), guid);
    InstallSettings other = plain;
    other.product.data1 ^= 1;
    EXPECT_NE(guidOf(other, L"[HKEY_CLASSES_ROOT\\x]"), guid);
    other = plain;
    other.scope = InstallScope::User;
    EXPECT_NE(guidOf(other, L"[HKEY_CLASSES_ROOT\\x]"), guid);
    other = plain;
    other.bitness = 32;
    EXPECT_NE(guidOf(other, L"[HKEY_CLASSES_ROOT\\x]"), guid);
    other = plain;
    other.directory = L"OTHER";
    EXPECT_NE(guidOf(other, L"[HKEY_CLASSES_ROOT\\x]"), guid);
    other = plain;
    other.servers.front().fileName = L"other.dll";
    EXPECT_NE(guidOf(other, L"[HKEY_CLASSES_ROOT\\x]"), guid);
    other.servers.front().fileName = L"A.DLL";
    EXPECT_EQ(guidOf(other, L"[HKEY_CLASSES_ROOT\\x]"), guid) << "names of files have no case";
}

TEST(InstallDataOf, APlaceThatCanBeReadInTwoWaysIsNamed) {
    const Emitted emitted = EmittedOf({L"[HKEY_CLASSES_ROOT\\x\r\ny]", path});
    ASSERT_THAT(emitted.notes, SizeIs(1));
    EXPECT_THAT(emitted.notes.front().reason, testing::StartsWith(L"can be read in two ways: "));
}

} // namespace
} // namespace keyreap
