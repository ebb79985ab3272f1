#include "platform/core/text/compare.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(FoldLetter, FoldsAToZAndNothingElse) {
    EXPECT_EQ(FoldLetter(L'A'), L'a');
    EXPECT_EQ(FoldLetter(L'Z'), L'z');
    EXPECT_EQ(FoldLetter(L'm'), L'm');
    EXPECT_EQ(FoldLetter(L'@'), L'@');
    EXPECT_EQ(FoldLetter(L'['), L'[');
    EXPECT_EQ(FoldLetter(L'\x00C4'), L'\x00C4');
}

TEST(CompareFolded, FoldsTheLettersOfTheAlphabetOnly) {
    EXPECT_EQ(CompareFolded(L"Software\\CLSID", L"SOFTWARE\\clsid"), 0);
    EXPECT_NE(CompareFolded(L"\x00E4", L"\x00C4"), 0);
    EXPECT_EQ(CompareFolded(L"", L""), 0);
}

TEST(CompareFolded, SortsByTheFoldedLetters) {
    // With letters folded down, "_" (0x5F) comes before "a" (0x61) and so before "A".
    EXPECT_LT(CompareFolded(L"_", L"A"), 0);
    EXPECT_LT(CompareFolded(L"_", L"a"), 0);
}

TEST(CompareFolded, AShorterTextSortsBeforeALongerOneThatStartsWithIt) {
    EXPECT_LT(CompareFolded(L"Key", L"KEY\\Sub"), 0);
    EXPECT_GT(CompareFolded(L"Key\\Sub", L"KEY"), 0);
    EXPECT_LT(CompareFolded(L"", L"a"), 0);
}

TEST(StartsWithFolded, IgnoresTheCaseOfAToZAndWhatFollows) {
    EXPECT_TRUE(StartsWithFolded(L"C:\\Windows\\System32", L"c:\\WINDOWS"));
    EXPECT_TRUE(StartsWithFolded(L"C:\\WindowsOld", L"c:\\windows"));
    EXPECT_TRUE(StartsWithFolded(L"abc", L""));
    EXPECT_FALSE(StartsWithFolded(L"C:\\Win", L"c:\\windows"));
    EXPECT_FALSE(StartsWithFolded(L"\x00E4"
                                  L"bc",
                                  L"\x00C4"));
}

TEST(CompareUnits, GoesByTheUnitsValue) {
    EXPECT_EQ(CompareUnits(L"Name", L"Name"), 0);
    EXPECT_LT(CompareUnits(L"B", L"a"), 0);
    EXPECT_LT(CompareUnits(L"a", L"b"), 0);
    EXPECT_GT(CompareUnits(L"\xFFFD", L"\xD800"), 0);
    EXPECT_LT(CompareUnits(L"ab", L"abc"), 0);
}

TEST(CompareUnits, UnitsAboveTheSignBitAreNotNegative) {
    EXPECT_GT(CompareUnits(L"\x8000", L"\x7FFF"), 0);
}

TEST(EqualFolded, OnlyAsciiLettersAreFolded) {
    EXPECT_TRUE(EqualFolded(L"Software\\Z", L"sOFTWARE\\z"));
    EXPECT_FALSE(EqualFolded(L"\x00C9", L"\x00E9"));
    EXPECT_FALSE(EqualFolded(L"A", L"AB"));
    EXPECT_FALSE(EqualFolded(L"[", L"{"));
}

TEST(FoldedBytes, FoldsAToZAndLeavesBytesOutsideAsciiAlone) {
    EXPECT_EQ(FoldedBytes("SysWOW64\\AZ@["), "syswow64\\az@[");
    EXPECT_EQ(FoldedBytes("\xC3\x84\xFF"), "\xC3\x84\xFF");
    EXPECT_EQ(FoldedBytes(""), "");
}

} // namespace
} // namespace keyreap
