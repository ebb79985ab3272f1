#include "trace/replay/keymapping.h"

#include <gtest/gtest.h>

#include <string>

namespace keyreap {
namespace {

const std::wstring temporary = L"Software\\Velmoro\\Tesselink\\Temporary\\";

class ReplayMappingsTest : public testing::Test {
protected:
    bool Substitute(PredefinedRoot from, std::wstring_view fromPath) {
        return SubstituteKey(mappings, from, fromPath, root, path);
    }

    std::vector<KeyMapping> mappings = ReplayMappings(temporary);
    PredefinedRoot root = noRoot;
    std::wstring path = L"untouched";
};

TEST_F(ReplayMappingsTest, EachTemporaryTreeIsTranslatedIntoItsRoot) {
    EXPECT_TRUE(Substitute(currentUserRoot, temporary + L"HKCR\\CLSID\\{X}"));
    EXPECT_EQ(root, classesRoot);
    EXPECT_EQ(path, L"CLSID\\{X}");
    EXPECT_TRUE(Substitute(currentUserRoot, temporary + L"HKLM\\Software\\A"));
    EXPECT_EQ(root, localMachineRoot);
    EXPECT_EQ(path, L"Software\\A");
    EXPECT_TRUE(Substitute(currentUserRoot, temporary + L"HKCU\\Software\\A"));
    EXPECT_EQ(root, currentUserRoot);
    EXPECT_EQ(path, L"Software\\A");
    EXPECT_TRUE(Substitute(currentUserRoot, temporary + L"HKU\\.DEFAULT\\A"));
    EXPECT_EQ(root, usersRoot);
    EXPECT_EQ(path, L".DEFAULT\\A");
}

TEST_F(ReplayMappingsTest, TheThirtyTwoBitViewOfTheMachineBecomesItsSoftware) {
    EXPECT_TRUE(Substitute(localMachineRoot, L"SOFTWARE\\WOW6432NODE\\X"));
    EXPECT_EQ(root, localMachineRoot);
    EXPECT_EQ(path, L"Software\\X");
}

TEST_F(ReplayMappingsTest, OnlyKeysBelowTheThirtyTwoBitNodeAreRenamed) {
    EXPECT_FALSE(Substitute(localMachineRoot, L"SOFTWARE\\WOW6432NODE"));
    EXPECT_FALSE(Substitute(localMachineRoot, L"SOFTWARE\\WOW6432NODES\\X"));
    EXPECT_EQ(root, noRoot);
    EXPECT_EQ(path, L"untouched");
}

TEST_F(ReplayMappingsTest, APrefixIsComparedWithLettersFolded) {
    EXPECT_TRUE(Substitute(currentUserRoot, L"SOFTWARE\\velmoro\\TESSELINK\\temporary\\hkcr\\A"));
    EXPECT_EQ(root, classesRoot);
    EXPECT_EQ(path, L"A");
}

TEST_F(ReplayMappingsTest, ATemporaryRootKeyItselfStaysUnderTheCurrentUser) {
    for (const wchar_t* key :
         {L"HKCR", L"HKLM", L"HKCU", L"HKU", L"HKCRS\\A", L"HKLMS\\A", L"HKCUS\\A", L"HKUS\\A"}) {
        EXPECT_FALSE(Substitute(currentUserRoot, temporary + key)) << testing::PrintToString(key);
    }
    EXPECT_FALSE(Substitute(currentUserRoot, L"Software\\Velmoro\\Tesselink\\Temporary"));
    EXPECT_EQ(root, noRoot);
    EXPECT_EQ(path, L"untouched");
}

TEST_F(ReplayMappingsTest, TheRootMustBeTheRowsOwn) {
    EXPECT_FALSE(Substitute(localMachineRoot, temporary + L"HKCR\\A"));
    EXPECT_FALSE(Substitute(currentUserRoot, L"Software\\Wow6432Node\\X"));
}

TEST_F(ReplayMappingsTest, NothingIsSubstitutedTwice) {
    EXPECT_TRUE(Substitute(currentUserRoot, temporary + L"HKLM\\Software\\Wow6432Node\\X"));
    EXPECT_EQ(path, L"Software\\Wow6432Node\\X");
}

TEST(SubstituteKey, TheFirstRowThatFitsWins) {
    const std::vector<KeyMapping> mappings = {{usersRoot, L"A\\", classesRoot, L"first\\"},
                                              {usersRoot, L"A\\B\\", classesRoot, L"second\\"}};
    PredefinedRoot root = noRoot;
    std::wstring path;
    EXPECT_TRUE(SubstituteKey(mappings, usersRoot, L"A\\B\\C", root, path));
    EXPECT_EQ(path, L"first\\B\\C");
}

TEST(SubstituteKey, WithoutRowsNothingFits) {
    PredefinedRoot root = noRoot;
    std::wstring path;
    EXPECT_FALSE(SubstituteKey({}, usersRoot, L"A", root, path));
}

} // namespace
} // namespace keyreap
