#include "regmodel/hexdigits.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

RegSource Source(std::wstring_view text) {
    RegSource source;
    source.text = text;
    return source;
}

TEST(HexDigits, DigitsOfBothCasesCount) {
    const HexDigits digits = ReadHexDigits(Source(L"xaF09g"), 1, 8);
    EXPECT_EQ(digits.value, 0xAF09u);
    EXPECT_EQ(digits.end, 5u);
}

TEST(HexDigits, ReadingEndsAtTheMostDigits) {
    EXPECT_EQ(ReadHexDigits(Source(L"1234"), 0, 2).value, 0x12u);
}

TEST(HexDigits, WithoutADigitTheEndIsTheStart) {
    EXPECT_EQ(ReadHexDigits(Source(L"x"), 0, 8).end, 0u);
    EXPECT_EQ(ReadHexDigits(Source(L""), 0, 8).end, 0u);
}

TEST(HexDigits, PairsOfEachLineAreCounted) {
    const auto pairs = std::get<HexPairs>(ReadHexPairs(Source(L"01,02,\\\r\n  03\r\n"), 0));
    EXPECT_EQ(pairs.bytes, (std::vector<std::uint8_t>{1, 2, 3}));
    EXPECT_EQ(pairs.pairsOfLines, (std::vector<std::size_t>{2, 1}));
    EXPECT_EQ(pairs.end, 13u);
}

} // namespace
} // namespace keyreap
