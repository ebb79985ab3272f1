#include "regfile/regtext.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

std::wstring Entry(std::wstring_view name, RegType type, const ValueText& text) {
    return FormatValueEntry(name, text, static_cast<std::uint32_t>(type), {});
}

std::wstring Pairs(std::size_t count) {
    std::wstring text;
    for (std::size_t i = 0; i < count; ++i) {
        text += L"ab";
    }
    return text;
}

std::size_t LineCount(const std::wstring& body) {
    std::size_t lines = 1;
    for (const wchar_t unit : body) {
        lines += unit == L'\n' ? 1 : 0;
    }
    return lines;
}

TEST(EscapeRegText, EmptyTextStaysEmpty) {
    EXPECT_EQ(EscapeRegText(L""), L"");
}

TEST(EscapeRegText, TextWithNothingToEscapeIsCopied) {
    EXPECT_EQ(EscapeRegText(L"plain\r\n\ttext"), L"plain\r\n\ttext");
}

TEST(EscapeRegText, BackslashesAndQuotesGetABackslash) {
    EXPECT_EQ(EscapeRegText(L"C:\\a\\b.dll"), L"C:\\\\a\\\\b.dll");
    EXPECT_EQ(EscapeRegText(L"a\"b"), L"a\\\"b");
}

TEST(EscapeRegText, LoneLeadingBackslashStaysSingle) {
    EXPECT_EQ(EscapeRegText(L"\\"), L"\\");
    EXPECT_EQ(EscapeRegText(L"\\foo"), L"\\foo");
}

TEST(EscapeRegText, LoneLeadingQuoteStaysUnescaped) {
    EXPECT_EQ(EscapeRegText(L"\""), L"\"");
    EXPECT_EQ(EscapeRegText(L"\"foo"), L"\"foo");
}

TEST(EscapeRegText, LeadingBackslashIsDoubledWhenAnotherFollows) {
    EXPECT_EQ(EscapeRegText(L"\\foo\\bar"), L"\\\\foo\\\\bar");
    EXPECT_EQ(EscapeRegText(L"\\\\"), L"\\\\\\\\");
    EXPECT_EQ(EscapeRegText(L"\"a\""), L"\\\"a\\\"");
}

TEST(EscapeRegText, TrailingBackslashIsDoubled) {
    EXPECT_EQ(EscapeRegText(L"C:\\"), L"C:\\\\");
}

TEST(EscapeRegText, NulAndSurrogatesAreCopied) {
    const std::wstring text{L'\xD800', L'\0', L'\\', L'\xDC00'};
    const std::wstring escaped{L'\xD800', L'\0', L'\\', L'\\', L'\xDC00'};
    EXPECT_EQ(EscapeRegText(text), escaped);
}

TEST(EscapeRegTextStrict, EscapesTheFirstCharacterToo) {
    EXPECT_EQ(EscapeRegTextStrict(L"\\"), L"\\\\");
    EXPECT_EQ(EscapeRegTextStrict(L"\"foo"), L"\\\"foo");
    EXPECT_EQ(EscapeRegTextStrict(L"C:\\a\\\"b\""), L"C:\\\\a\\\\\\\"b\\\"");
    EXPECT_EQ(EscapeRegTextStrict(L""), L"");
}

TEST(EncodeWideHex, EmptyTextIsTheTerminatorWithItsComma) {
    EXPECT_EQ(EncodeWideHex(L""), L",00,00");
}

TEST(EncodeWideHex, UnitsGoLowByteFirst) {
    EXPECT_EQ(EncodeWideHex(L"ab"), L"61,00,62,00,00,00");
    EXPECT_EQ(EncodeWideHex(std::wstring(1, L'\x20AC')), L"ac,20,00,00");
    EXPECT_EQ(EncodeWideHex(std::wstring(1, L'\xD83D')), L"3d,d8,00,00");
}

TEST(EncodeWideHex, CarriageReturnIsLostAndLineFeedEndsAString) {
    EXPECT_EQ(EncodeWideHex(L"a\r\nb\r\n"), L"61,00,00,00,62,00,00,00,00,00");
    EXPECT_EQ(EncodeWideHex(L"\r"), L",00,00");
    EXPECT_EQ(EncodeWideHex(L"a\nb"), L"61,00,00,00,62,00,00,00");
}

TEST(EncodeWideHex, NulCharactersAreCopied) {
    EXPECT_EQ(EncodeWideHex(std::wstring(L"a\0b\0", 4)), L"61,00,00,00,62,00,00,00,00,00");
}

TEST(EncodeWideHex, NeverWraps) {
    const std::wstring body = EncodeWideHex(std::wstring(1000, L'x'));
    EXPECT_EQ(LineCount(body), 1U);
    EXPECT_EQ(body.size(), 6U * 1000 + 5);
}

TEST(EncodeHexPairs, EmptyTextGivesNothing) {
    EXPECT_EQ(EncodeHexPairs(L""), L"");
}

TEST(EncodeHexPairs, CopiesPairsUnchecked) {
    EXPECT_EQ(EncodeHexPairs(L"C:\\x"), L"C:,\\x");
}

TEST(EncodeHexPairs, OddLengthEndsInASingleCharacter) {
    EXPECT_EQ(EncodeHexPairs(L"abc"), L"ab,c");
    EXPECT_EQ(EncodeHexPairs(L"a"), L"a");
}

TEST(EncodeHexPairs, WrapsAfterEveryTwentyFivePairs) {
    EXPECT_EQ(LineCount(EncodeHexPairs(Pairs(25))), 1U);
    EXPECT_EQ(LineCount(EncodeHexPairs(Pairs(26))), 2U);
    EXPECT_EQ(LineCount(EncodeHexPairs(Pairs(50))), 2U);
    EXPECT_EQ(LineCount(EncodeHexPairs(Pairs(51))), 3U);
}

TEST(EncodeHexPairs, WrappedLineEndsInCommaAndBackslash) {
    const std::wstring body = EncodeHexPairs(Pairs(26));
    EXPECT_EQ(body.substr(body.size() - 10), L"ab,\\\r\n  ab");
}

TEST(EncodeHexPairs, AFullLastLineHasNoContinuation) {
    const std::wstring body = EncodeHexPairs(Pairs(50));
    EXPECT_EQ(body.substr(body.size() - 5), L"ab,ab");
}

TEST(EncodeDwordHex, GivesEightLowerCaseDigits) {
    EXPECT_EQ(EncodeDwordHex(L"16"), L"00000010");
    EXPECT_EQ(EncodeDwordHex(L"3735928559"), L"deadbeef");
    EXPECT_EQ(EncodeDwordHex(L"4294967295"), L"ffffffff");
}

TEST(EncodeDwordHex, NoDigitsGiveZero) {
    EXPECT_EQ(EncodeDwordHex(L""), L"00000000");
    EXPECT_EQ(EncodeDwordHex(L"x1"), L"00000000");
    EXPECT_EQ(EncodeDwordHex(L"-1"), L"00000000");
}

TEST(EncodeDwordHex, SkipsLeadingWhiteSpaceAndStopsAtTheFirstNonDigit) {
    EXPECT_EQ(EncodeDwordHex(L" \t\r\n\v\f12a9"), L"0000000c");
}

TEST(EncodeDwordHex, SaturatesAboveTheLargestNumber) {
    EXPECT_EQ(EncodeDwordHex(L"4294967296"), L"ffffffff");
    EXPECT_EQ(EncodeDwordHex(L"99999999999999999999999999"), L"ffffffff");
}

TEST(FormatValueEntry, EmptyNameIsTheDefaultValue) {
    EXPECT_EQ(Entry(L"", RegType::Sz, L"C:\\a.dll"), L"@=\"C:\\\\a.dll\"\r\n");
    EXPECT_EQ(Entry(L"", RegType::Sz, L""), L"@=\"\"\r\n");
}

TEST(FormatValueEntry, EveryFormOfEntryIsWrittenExactly) {
    EXPECT_EQ(Entry(L"Flags", RegType::Dword, L"16"), L"\"Flags\"=dword:00000010\r\n");
    EXPECT_EQ(Entry(L"Path", RegType::ExpandSz, L"ab"), L"\"Path\"=hex(2):61,00,62,00,00,00\r\n");
    EXPECT_EQ(Entry(L"List", RegType::MultiSz, L"a\r\nb\r\n"),
              L"\"List\"=hex(7):61,00,00,00,62,00,00,00,00,00\r\n");
    EXPECT_EQ(Entry(L"Raw", RegType::Binary, L"000102030405060708090a0b0c0d0e0f10111213141516171819"),
              L"\"Raw\"=hex:00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,16,17,18,\\\r\n"
              L"  19\r\n");
    EXPECT_EQ(Entry(L"Odd", RegType::Link, L"any"), L"\"Odd\"=\r\n");
}

TEST(FormatValueEntry, EmptyTextsHaveTheirForms) {
    EXPECT_EQ(Entry(L"b", RegType::Binary, L""), L"\"b\"=hex:\r\n");
    EXPECT_EQ(Entry(L"q", RegType::Qword, L""), L"\"q\"=hex(b):\r\n");
    EXPECT_EQ(Entry(L"e", RegType::ExpandSz, L""), L"\"e\"=hex(2):,00,00\r\n");
    EXPECT_EQ(Entry(L"m", RegType::MultiSz, L""), L"\"m\"=hex(7):,00,00\r\n");
    EXPECT_EQ(Entry(L"d", RegType::Dword, L""), L"\"d\"=dword:00000000\r\n");
}

TEST(FormatValueEntry, TypesWithoutAFormEndAfterTheEqualsSign) {
    for (const std::uint32_t type : {0U, 5U, 6U, 8U, 9U, 10U, 12U, 13U, 0x12345U, 0xFFFFFFFFU}) {
        EXPECT_EQ(FormatValueEntry(L"n", L"text", type, {}), L"\"n\"=\r\n") << type;
    }
}

TEST(FormatValueEntry, QwordTakesTheTextThatItIsGiven) {
    EXPECT_EQ(Entry(L"q", RegType::Qword, L"16"), L"\"q\"=hex(b):16\r\n");
    EXPECT_EQ(Entry(L"q", RegType::Qword, L"C:\\x"), L"\"q\"=hex(b):C:,\\x\r\n");
}

TEST(FormatValueEntry, NameIsEscapedLikeAString) {
    EXPECT_EQ(Entry(L"a\\b\"c", RegType::Sz, L"x"), L"\"a\\\\b\\\"c\"=\"x\"\r\n");
}

TEST(FormatValueEntry, NameWithALoneLeadingQuoteStaysUnescaped) {
    EXPECT_EQ(Entry(L"\"n", RegType::Sz, L"x"), L"\"\"n\"=\"x\"\r\n");
}

TEST(FormatValueEntry, LineBreaksOfAStringStayInsideItsQuotes) {
    EXPECT_EQ(Entry(L"n", RegType::Sz, L"a\r\nb"), L"\"n\"=\"a\r\nb\"\r\n");
}

TEST(FormatValueEntry, OneBackslashStaysOneAndTwoBecomeFour) {
    EXPECT_EQ(Entry(L"n", RegType::Sz, L"\\"), L"\"n\"=\"\\\"\r\n");
    EXPECT_EQ(Entry(L"n", RegType::Sz, L"\\\\"), L"\"n\"=\"\\\\\\\\\"\r\n");
}

TEST(FormatValueEntry, ReplacesInStringDataAlone) {
    const PathReplacements pairs{{L"C:\\\\t", L"D:\\\\f"}};
    const auto entry = [&](std::wstring_view name, RegType type, const ValueText& text) {
        return FormatValueEntry(name, text, static_cast<std::uint32_t>(type), pairs);
    };
    EXPECT_EQ(entry(L"C:\\t", RegType::Sz, L"C:\\t\\a"), L"\"C:\\\\t\"=\"D:\\\\f\\\\a\"\r\n");
    EXPECT_EQ(entry(L"e", RegType::ExpandSz, L"C:\\t"), Entry(L"e", RegType::ExpandSz, L"C:\\t"));
    EXPECT_EQ(entry(L"m", RegType::MultiSz, L"C:\\t"), Entry(L"m", RegType::MultiSz, L"C:\\t"));
    EXPECT_EQ(entry(L"q", RegType::Qword, L"C:\\\\t"), Entry(L"q", RegType::Qword, L"C:\\\\t"));
}

TEST(FormatValueEntry, ReplacementSeesTheEscapedText) {
    const PathReplacements pairs{{L"C:\\\\t", L"X"}};
    EXPECT_EQ(FormatValueEntry(L"n", L"\"C:\\t\\a.exe\" /x", 1, pairs),
              L"\"n\"=\"\\\"X\\\\a.exe\\\" /x\"\r\n");
}

} // namespace
} // namespace keyreap
