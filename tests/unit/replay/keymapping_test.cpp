#include "trace/replay/keymapping.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace keyreap {
namespace {

const std::wstring temporary = L"Software\\Velmoro\\Tesselink\\Temporary\\";

using Key = std::pair<PredefinedRoot, std::wstring>;

const Key untouched{noRoot, L"untouched"};

class ReplayMappingsTest : public testing::Test {
protected:
    // The substituted key, or `untouched` if no row fits.
    Key Substituted(PredefinedRoot from, std::wstring_view fromPath) const {
        Key result = untouched;
        const bool fits = SubstituteKey(mappings, from, fromPath, result.first, result.second);
        EXPECT_EQ(fits, result != untouched);
        return result;
    }

    std::vector<KeyMapping> mappings = ReplayMappings(temporary);
};

TEST_F(ReplayMappingsTest, EachTemporaryTreeIsTranslatedIntoItsRoot) {
    EXPECT_EQ(Substituted(currentUserRoot, temporary + L"HKCR\\CLSID\\{X}"), Key(classesRoot, L"CLSID\\{X}"));
    EXPECT_EQ(Substituted(currentUserRoot, temporary + L"HKLM\\Software\\A"),
              Key(localMachineRoot, L"Software\\A"));
    EXPECT_EQ(Substituted(currentUserRoot, temporary + L"HKCU\\Software\\A"),
              Key(currentUserRoot, L"Software\\A"));
    EXPECT_EQ(Substituted(currentUserRoot, temporary + L"HKU\\.DEFAULT\\A"), Key(usersRoot, L".DEFAULT\\A"));
}

TEST_F(ReplayMappingsTest, TheThirtyTwoBitViewOfTheMachineBecomesItsSoftware) {
    EXPECT_EQ(Substituted(localMachineRoot, L"SOFTWARE\\WOW6432NODE\\X"),
              Key(localMachineRoot, L"Software\\X"));
}

TEST_F(ReplayMappingsTest, OnlyKeysBelowTheThirtyTwoBitNodeAreRenamed) {
    EXPECT_EQ(Substituted(localMachineRoot, L"SOFTWARE\\WOW6432NODE"), untouched);
    EXPECT_EQ(Substituted(localMachineRoot, L"SOFTWARE\\WOW6432NODES\\X"), untouched);
}

TEST_F(ReplayMappingsTest, APrefixIsComparedWithLettersFolded) {
    EXPECT_EQ(Substituted(currentUserRoot, L"SOFTWARE\\velmoro\\TESSELINK\\temporary\\hkcr\\A"),
              Key(classesRoot, L"A"));
}

TEST_F(ReplayMappingsTest, ATemporaryRootKeyItselfStaysUnderTheCurrentUser) {
    for (const wchar_t* key :
         {L"HKCR", L"HKLM", L"HKCU", L"HKU", L"HKCRS\\A", L"HKLMS\\A", L"HKCUS\\A", L"HKUS\\A"}) {
        EXPECT_EQ(Substituted(currentUserRoot, temporary + key), untouched) << testing::PrintToString(key);
    }
    EXPECT_EQ(Substituted(currentUserRoot, L"Software\\Velmoro\\Tesselink\\Temporary"), untouched);
}

TEST_F(ReplayMappingsTest, TheRootMustBeTheRowsOwn) {
    EXPECT_EQ(Substituted(localMachineRoot, temporary + L"HKCR\\A"), untouched);
    EXPECT_EQ(Substituted(currentUserRoot, L"Software\\Wow6432Node\\X"), untouched);
}

TEST_F(ReplayMappingsTest, NothingIsSubstitutedTwice) {
    EXPECT_EQ(Substituted(currentUserRoot, temporary + L"HKLM\\Software\\Wow6432Node\\X"),
              Key(localMachineRoot, L"Software\\Wow6432Node\\X"));
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
