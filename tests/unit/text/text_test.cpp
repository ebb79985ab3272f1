#include "platform/core/text/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(SplitText, AnEmptyTextHasNoPieceWhateverTheFlag) {
    EXPECT_THAT(SplitText(L"", L";", false), IsEmpty());
    EXPECT_THAT(SplitText(L"", L";", true), IsEmpty());
}

TEST(SplitText, AnEmptyPieceInTheMiddleCountsUnlessDropped) {
    EXPECT_THAT(SplitText(L"a;;b", L";", false), ElementsAre(L"a", L"", L"b"));
    EXPECT_THAT(SplitText(L"a;;b", L";", true), ElementsAre(L"a", L"b"));
}

TEST(SplitText, ADelimiterAloneHasTwoEmptyPieces) {
    EXPECT_THAT(SplitText(L";", L";", false), ElementsAre(L"", L""));
    EXPECT_THAT(SplitText(L";", L";", true), IsEmpty());
}

TEST(SplitText, TheRestAfterTheLastDelimiterFollowsTheSameRule) {
    EXPECT_THAT(SplitText(L";a;", L";", false), ElementsAre(L"", L"a", L""));
    EXPECT_THAT(SplitText(L";a;", L";", true), ElementsAre(L"a"));
}

TEST(SplitText, ATextWithoutDelimiterIsOnePiece) {
    EXPECT_THAT(SplitText(L"abc", L";", false), ElementsAre(L"abc"));
}

TEST(SplitText, TheDelimiterIsAWholeTextComparedExactly) {
    EXPECT_THAT(SplitText(L"a::b:c", L"::", false), ElementsAre(L"a", L"b:c"));
    EXPECT_THAT(SplitText(L"aXbxc", L"x", false), ElementsAre(L"aXb", L"c"));
    EXPECT_THAT(SplitText(L"a:::b", L"::", false), ElementsAre(L"a", L":b"));
}

TEST(SplitText, AnEmptyDelimiterSplitsNothing) {
    EXPECT_THAT(SplitText(L"abc", L"", false), ElementsAre(L"abc"));
}

TEST(SplitText, AZeroCanBeTheDelimiter) {
    const std::wstring_view zero(L"\0", 1);
    EXPECT_THAT(SplitText(std::wstring_view(L"a\0b", 3), zero, false), ElementsAre(L"a", L"b"));
}

TEST(TrimRight, RemovesTheSetsCharactersAtTheEndOnly) {
    EXPECT_EQ(TrimRight(L" \tab c\r\n ", L" \t\r\n"), L" \tab c");
    EXPECT_EQ(TrimRight(L"abc", L" "), L"abc");
    EXPECT_EQ(TrimRight(L"abc", L""), L"abc");
}

TEST(TrimRight, ATextOfSetCharactersAloneBecomesEmpty) {
    EXPECT_EQ(TrimRight(L" \t \r\n", L" \t\r\n"), L"");
    EXPECT_EQ(TrimRight(L"", L" "), L"");
}

TEST(TrimLeft, RemovesTheSetsCharactersAtTheStartOnly) {
    EXPECT_EQ(TrimLeft(L"\r\n ab c \t", L" \t\r\n"), L"ab c \t");
    EXPECT_EQ(TrimLeft(L"abc", L" "), L"abc");
    EXPECT_EQ(TrimLeft(L"abc", L""), L"abc");
}

TEST(TrimLeft, ATextOfSetCharactersAloneBecomesEmpty) {
    EXPECT_EQ(TrimLeft(L" \t ", L" \t"), L"");
    EXPECT_EQ(TrimLeft(L"", L" "), L"");
}

TEST(TrimLeft, AfterTrimRightBothEndsAreBare) {
    EXPECT_EQ(TrimLeft(TrimRight(L"\t file.cpp \r\n", L" \t\r\n"), L" \t\r\n"), L"file.cpp");
}

TEST(TrimTrailingSpaces, RemovesBlanksAndNothingElse) {
    const auto trimmed = [](std::wstring text) {
        TrimTrailingSpaces(text);
        return text;
    };
    EXPECT_EQ(trimmed(L" a b  "), L" a b");
    EXPECT_EQ(trimmed(L"a \t"), L"a \t");
    EXPECT_EQ(trimmed(L"a\x00A0"), L"a\x00A0");
    EXPECT_EQ(trimmed(L"   "), L"");
    EXPECT_EQ(trimmed(L""), L"");
}

TEST(FirstLine, EndsAtTheFirstCarriageReturnOrLineFeed) {
    EXPECT_EQ(FirstLine(L"one\r\ntwo"), L"one");
    EXPECT_EQ(FirstLine(L"one\ntwo\r"), L"one");
    EXPECT_EQ(FirstLine(L"one\rtwo"), L"one");
    EXPECT_EQ(FirstLine(L"one"), L"one");
    EXPECT_EQ(FirstLine(L"\r\none"), L"");
    EXPECT_EQ(FirstLine(L""), L"");
}

TEST(WidenBytes, EachByteKeepsItsSignedValue) {
    EXPECT_EQ(WidenBytes("what"), L"what");
    EXPECT_EQ(WidenBytes("\x7F"), L"\x007F");
    EXPECT_EQ(WidenBytes("\xE9\x80"), L"\xFFE9\xFF80");
    EXPECT_EQ(WidenBytes(std::string_view("a\0b", 3)), std::wstring(L"a\0b", 3));
    EXPECT_EQ(WidenBytes(""), L"");
}

TEST(IntegerToText, IsDecimalWithAMinusSignBelowZero) {
    EXPECT_EQ(IntegerToText(0), L"0");
    EXPECT_EQ(IntegerToText(std::numeric_limits<std::int32_t>::min()), L"-2147483648");
    EXPECT_EQ(IntegerToText(std::numeric_limits<std::int32_t>::max()), L"2147483647");
    EXPECT_EQ(IntegerToText(std::numeric_limits<std::uint32_t>::max()), L"4294967295");
    EXPECT_EQ(IntegerToText(std::numeric_limits<std::int64_t>::min()), L"-9223372036854775808");
    EXPECT_EQ(IntegerToText(std::numeric_limits<std::uint64_t>::max()), L"18446744073709551615");
}

TEST(IntegerToText, ABytesNumberIsNoCharacter) {
    EXPECT_EQ(IntegerToText(std::int8_t{-65}), L"-65");
    EXPECT_EQ(IntegerToText(std::uint8_t{65}), L"65");
}

TEST(HexToText, IsLowerCaseWithoutLeadingZerosUnlessAskedFor) {
    EXPECT_EQ(HexToText(0), L"0");
    EXPECT_EQ(HexToText(0xC0000005), L"c0000005");
    EXPECT_EQ(HexToText(0x1F), L"1f");
    EXPECT_EQ(HexToText(0x1F, 8), L"0000001f");
    EXPECT_EQ(HexToText(0, 16), L"0000000000000000");
    EXPECT_EQ(HexToText(0x123456789, 4), L"123456789");
    EXPECT_EQ(HexToText(std::numeric_limits<std::uint64_t>::max(), 16), L"ffffffffffffffff");
}

TEST(TextToInteger, ReadsDigitsUpToTheFirstOther) {
    EXPECT_EQ(TextToInteger(L"19045"), 19045);
    EXPECT_EQ(TextToInteger(L"76 Service"), 76);
    EXPECT_EQ(TextToInteger(L"12a"), 12);
    EXPECT_EQ(TextToInteger(L"x1"), 0);
    EXPECT_EQ(TextToInteger(L" 1"), 0);
    EXPECT_EQ(TextToInteger(L""), 0);
}

TEST(TextToInteger, ALeadingMinusSignNegates) {
    EXPECT_EQ(TextToInteger(L"-76"), -76);
    EXPECT_EQ(TextToInteger(L"--76"), 0);
    EXPECT_EQ(TextToInteger(L"+76"), 0);
    EXPECT_EQ(TextToInteger(L"-"), 0);
    EXPECT_EQ(TextToInteger(L"-2147483648"), std::numeric_limits<std::int32_t>::min());
}

TEST(TextToInteger, ANumberTooLargeKeepsItsLow32Bits) {
    EXPECT_EQ(TextToInteger(L"4294967297"), 1);
    EXPECT_EQ(TextToInteger(L"4294967295"), -1);
}

TEST(HexTextToInteger, ReadsBothCasesAndAtMostTheDigitsAskedFor) {
    EXPECT_EQ(HexTextToInteger(L"aBcDeF01", 8), 0xABCDEF01U);
    EXPECT_EQ(HexTextToInteger(L"123456789", 8), 0x12345678U);
    EXPECT_EQ(HexTextToInteger(L"12g4", 4), 0x12U);
    EXPECT_EQ(HexTextToInteger(L"", 4), 0U);
    EXPECT_EQ(HexTextToInteger(L"12", 0), 0U);
}

TEST(HexTextToInteger, TheSignDoesNotCountAsADigit) {
    EXPECT_EQ(HexTextToInteger(L"-0001", 4), 0xFFFFFFFFU);
    EXPECT_EQ(HexTextToInteger(L"-12345", 4), 0U - 0x1234U);
}

} // namespace
} // namespace keyreap
