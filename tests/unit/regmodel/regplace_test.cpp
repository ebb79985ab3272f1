#include "regmodel/regplace.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using Names = std::vector<std::wstring>;

void ExpectScope(std::wstring_view path, RegHive hive, RegView view, RegArea area) {
    const RegScope scope = PlaceOf(path).scope;
    EXPECT_EQ(scope.hive, hive);
    EXPECT_EQ(scope.view, view);
    EXPECT_EQ(scope.area, area);
}

TEST(RegPlace, ClassesAreARootOrAKeyOfSoftware) {
    ExpectScope(L"HKEY_CLASSES_ROOT\\A", RegHive::ClassesRoot, RegView::Plain, RegArea::Classes);
    ExpectScope(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\A", RegHive::LocalMachine, RegView::Plain,
                RegArea::Classes);
    ExpectScope(L"HKEY_CURRENT_USER\\Software\\Classes\\A", RegHive::CurrentUser, RegView::Plain,
                RegArea::Classes);
    EXPECT_EQ(PlaceOf(L"HKEY_CLASSES_ROOT\\A\\B").names, (Names{L"A", L"B"}));
    EXPECT_EQ(PlaceOf(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\A\\B").names, (Names{L"A", L"B"}));
}

TEST(RegPlace, SoftwareInTheRootOfTheClassesIsAName) {
    ExpectScope(L"HKEY_CLASSES_ROOT\\Software\\A", RegHive::ClassesRoot, RegView::Plain, RegArea::Classes);
    EXPECT_EQ(PlaceOf(L"HKEY_CLASSES_ROOT\\Software\\A").names, (Names{L"Software", L"A"}));
}

TEST(RegPlace, OtherViewMayBeNamedInSeveralPlaces) {
    for (const std::wstring_view path :
         {L"HKEY_CLASSES_ROOT\\Wow6432Node\\A", L"HKEY_LOCAL_MACHINE\\Software\\Classes\\Wow6432Node\\A",
          L"HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\Classes\\A"}) {
        EXPECT_EQ(PlaceOf(path).scope.view, RegView::Wow6432);
        EXPECT_EQ(PlaceOf(path).scope.area, RegArea::Classes);
        EXPECT_EQ(PlaceOf(path).names, Names{L"A"});
    }
    ExpectScope(L"HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\A", RegHive::LocalMachine, RegView::Wow6432,
                RegArea::Software);
}

TEST(RegPlace, ElsewhereTheOtherViewsNameIsAName) {
    EXPECT_EQ(PlaceOf(L"HKEY_CLASSES_ROOT\\A\\Wow6432Node").names, (Names{L"A", L"Wow6432Node"}));
    EXPECT_EQ(PlaceOf(L"HKEY_CLASSES_ROOT\\A\\Wow6432Node").scope.view, RegView::Plain);
    EXPECT_EQ(PlaceOf(L"HKEY_LOCAL_MACHINE\\SYSTEM\\Wow6432Node").scope.view, RegView::Plain);
}

TEST(RegPlace, NamesOfAreasAreComparedWithoutCase) {
    ExpectScope(L"hkey_local_machine\\SOFTWARE\\wow6432node\\CLASSES\\A", RegHive::LocalMachine,
                RegView::Wow6432, RegArea::Classes);
}

TEST(RegPlace, UserOfTheUsersHiveIsPartOfTheScope) {
    const RegPlace place = PlaceOf(L"HKEY_USERS\\S-1\\Software\\Classes\\A");
    EXPECT_EQ(place.scope.user, L"s-1");
    EXPECT_EQ(place.scope.area, RegArea::Classes);
    EXPECT_EQ(place.names, Names{L"A"});
}

TEST(RegPlace, ClassesOfAUserMayBeAKeyOfTheirOwn) {
    EXPECT_EQ(PlaceOf(L"HKEY_USERS\\S-1_Classes\\A").scope,
              PlaceOf(L"HKEY_USERS\\S-1\\Software\\Classes\\A").scope);
    EXPECT_EQ(PlaceOf(L"HKEY_USERS\\S-1_Classes\\Wow6432Node\\A").scope.view, RegView::Wow6432);
}

TEST(RegPlace, RootAloneHasNoNames) {
    EXPECT_TRUE(PlaceOf(L"HKEY_CLASSES_ROOT").names.empty());
    EXPECT_TRUE(PlaceOf(L"HKEY_CLASSES_ROOT\\").names.empty());
    EXPECT_TRUE(PlaceOf(L"HKEY_USERS").names.empty());
}

TEST(RegPlace, UnknownRootIsAName) {
    EXPECT_EQ(PlaceOf(L"HKCR\\Software\\Classes").names, (Names{L"HKCR", L"Software", L"Classes"}));
    ExpectScope(L"HKCR\\Software\\Classes", RegHive::Unknown, RegView::Plain, RegArea::Other);
}

TEST(RegPlace, GuidIsInBracesWithItsDigits) {
    EXPECT_TRUE(IsGuidText(L"{b29A312E-EB83-43BC-A846-E0C0563B8877}"));
    EXPECT_FALSE(IsGuidText(L"B29A312E-EB83-43BC-A846-E0C0563B8877"));
    EXPECT_FALSE(IsGuidText(L"{B29A312E-EB83-43BC-A846-E0C0563B887}"));
    EXPECT_FALSE(IsGuidText(L"{G29A312E-EB83-43BC-A846-E0C0563B8877}"));
    EXPECT_FALSE(IsGuidText(L"{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}"));
    EXPECT_FALSE(IsGuidText(L""));
}

} // namespace
} // namespace keyreap
