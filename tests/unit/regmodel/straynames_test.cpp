#include "regmodel/straynames.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr auto none = StrayName::None;
constexpr auto temporaryTree = StrayName::TemporaryTree;
constexpr auto noRoot = StrayName::NoRoot;

TEST(StrayNames, KeysOfTheTemporaryTreeAreStray) {
    EXPECT_EQ(StrayNameOf(L"HKEY_CURRENT_USER\\Software\\Velmoro\\Tesselink\\Temporary\\HKCR\\K"),
              temporaryTree);
    EXPECT_EQ(StrayNameOf(L"HKEY_CURRENT_USER\\SOFTWARE\\velmoro\\TESSELINK\\temporary"), temporaryTree);
    EXPECT_EQ(StrayNameOf(L"HKEY_USERS\\.DEFAULT\\Software\\Velmoro\\Tesselink\\Temporary\\HKLM\\K"),
              temporaryTree);
}

TEST(StrayNames, OtherKeysOfThisNameAreNotStray) {
    EXPECT_EQ(StrayNameOf(L"HKEY_CURRENT_USER\\Software\\Velmoro\\Tesselink"), none);
    EXPECT_EQ(StrayNameOf(L"HKEY_CURRENT_USER\\Software\\Velmoro\\Tesselink\\Temporary files"), none);
    EXPECT_EQ(StrayNameOf(L"HKEY_CURRENT_USER\\Software\\Velmoro\\Tesselink\\Temporary2\\Software\\Velmoro\\"
                          L"Tesselink\\Temporary"),
              temporaryTree);
}

TEST(StrayNames, AccountsHiveBelowTheMachinesRootHasNoRoot) {
    EXPECT_EQ(StrayNameOf(L"HKEY_LOCAL_MACHINE\\S-1-12-1-1-2-3-4\\Software\\K"), noRoot);
    EXPECT_EQ(StrayNameOf(L"HKEY_LOCAL_MACHINE\\S-1-5-18"), noRoot);
    EXPECT_EQ(StrayNameOf(L"HKEY_LOCAL_MACHINE\\s-1-5-93-2-1_Classes\\CLSID"), noRoot);
    EXPECT_EQ(StrayNameOf(
                  L"HKEY_LOCAL_MACHINE\\S-1-12-1-1-2-3-4\\Software\\Velmoro\\Tesselink\\Temporary\\HKCR\\K"),
              noRoot);
}

TEST(StrayNames, AccountsHiveBelowItsOwnRootIsNotStray) {
    EXPECT_EQ(StrayNameOf(L"HKEY_USERS\\S-1-12-1-1-2-3-4\\Software\\K"), none);
    EXPECT_EQ(StrayNameOf(L"HKEY_LOCAL_MACHINE\\Software\\S-1-5-18"), none);
    EXPECT_EQ(StrayNameOf(L"HKEY_LOCAL_MACHINE"), none);
    EXPECT_EQ(StrayNameOf(L""), none);
}

TEST(StrayNames, KeyOfAnUnknownRootHasNoRoot) {
    EXPECT_EQ(StrayNameOf(L"UNKNOWN!!Software\\K"), noRoot);
    EXPECT_EQ(StrayNameOf(L"UNKNOWN!!"), noRoot);
}

TEST(StrayNames, TextMayNameTheTemporaryTree) {
    EXPECT_TRUE(NamesTemporaryTree(L"see software\\velmoro\\tesselink\\temporary\\HKLM\\K"));
    EXPECT_FALSE(NamesTemporaryTree(L"see software\\velmoro\\tesselink\\temporaryHKLM\\K"));
}

} // namespace
} // namespace keyreap
