#include "tools/selfcheck/vocabulary.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(Vocabulary, NamesThatEveryRegistryHasAreReportedInTheirOwnSpelling) {
    EXPECT_EQ(Vocabulary().Reported(L"\\REGISTRY\\MACHINE\\software\\WOW6432NODE\\Classes"),
              "\\REGISTRY\\MACHINE\\software\\WOW6432NODE\\Classes");
}

TEST(Vocabulary, UnknownNamesAreReplacedOneByOne) {
    EXPECT_EQ(Vocabulary().Reported(L"Software\\A Company\\CLSID\\Secret"), "Software\\?\\CLSID\\?");
}

TEST(Vocabulary, AddedNamesAreReportedWhateverTheirCase) {
    Vocabulary vocabulary;
    vocabulary.Add(L"HKEY_CURRENT_USER\\Software\\KeyreapPlain");
    EXPECT_EQ(vocabulary.Reported(L"Software\\KEYREAPPLAIN\\KeyreapPlainer"), "Software\\KEYREAPPLAIN\\?");
}

TEST(Vocabulary, APartOfANameIsNoName) {
    Vocabulary vocabulary;
    vocabulary.Add(L"KeyreapPlain");
    EXPECT_FALSE(vocabulary.Contains(L"Keyreap"));
    EXPECT_FALSE(vocabulary.Contains(L""));
}

TEST(Vocabulary, AnAccountsNumbersAreReplacedAndItsKindStays) {
    const Vocabulary vocabulary;
    EXPECT_EQ(vocabulary.Reported(L"\\REGISTRY\\USER\\S-1-5-21-1-2-3-1000\\Environment"),
              "\\REGISTRY\\USER\\S-1-5-21-*\\Environment");
    EXPECT_EQ(vocabulary.Reported(L"S-1-5-21-1-2-3-1000_Classes"), "S-1-5-21-*_Classes");
    EXPECT_EQ(vocabulary.Reported(L"S-1-12-1-11-22-33-44"), "S-1-12-1-*");
    EXPECT_EQ(vocabulary.Reported(L"S-1-5-93-2-1"), "S-1-5-93-*");
}

TEST(Vocabulary, ASidThatEveryMachineHasStays) {
    EXPECT_EQ(Vocabulary().Reported(L"S-1-5-18\\.DEFAULT\\S-1-1-0"), "S-1-5-18\\.DEFAULT\\S-1-1-0");
}

TEST(Vocabulary, ANameLikeASidIsUnknown) {
    const Vocabulary vocabulary;
    for (const wchar_t* name :
         {L"S-1", L"S-1-5-21-x", L"S-1-5-21-", L"S-one-5", L"T-1-5-21-1", L"S-1-5-21-1_classes x"}) {
        EXPECT_EQ(vocabulary.Reported(name), "?") << name;
    }
}

TEST(Vocabulary, EmptyNamesStay) {
    EXPECT_EQ(Vocabulary().Reported(L"\\\\CLSID\\"), "\\\\CLSID\\");
    EXPECT_EQ(Vocabulary().Reported(L""), "");
}

TEST(PlainAscii, UnitsOutsideAsciiAreEscapes) {
    EXPECT_EQ(PlainAscii(L"a~\u00e9\n"), "a~\\u00e9\\u000a");
}

} // namespace
} // namespace keyreap
