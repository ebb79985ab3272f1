#include "platform/os/file/textencoding.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr auto aboveLast = static_cast<TextEncoding>(10);

TEST(TextEncoding, HasTheNumbersThatCallersPass) {
    EXPECT_EQ(static_cast<int>(TextEncoding::lowBytes), 0);
    EXPECT_EQ(static_cast<int>(TextEncoding::systemCodePage), 1);
    EXPECT_EQ(static_cast<int>(TextEncoding::utf8WithMark), 2);
    EXPECT_EQ(static_cast<int>(TextEncoding::utf8), 3);
    EXPECT_EQ(static_cast<int>(TextEncoding::utf16LittleEndianWithMark), 4);
    EXPECT_EQ(static_cast<int>(TextEncoding::utf16LittleEndian), 5);
    EXPECT_EQ(static_cast<int>(TextEncoding::utf16BigEndianWithMark), 6);
    EXPECT_EQ(static_cast<int>(TextEncoding::utf16BigEndian), 7);
    EXPECT_EQ(static_cast<int>(TextEncoding::westernEuropean), 8);
    EXPECT_EQ(static_cast<int>(TextEncoding::westernEuropeanToo), 9);
}

TEST(ByteOrderMark, BeginsThreeEncodings) {
    EXPECT_EQ(ByteOrderMark(TextEncoding::utf8WithMark), "\xEF\xBB\xBF");
    EXPECT_EQ(ByteOrderMark(TextEncoding::utf16LittleEndianWithMark), "\xFF\xFE");
    EXPECT_EQ(ByteOrderMark(TextEncoding::utf16BigEndianWithMark), "\xFE\xFF");
}

TEST(ByteOrderMark, IsEmptyForAllOthers) {
    for (const unsigned value : {0U, 1U, 3U, 5U, 7U, 8U, 9U, 10U, 0xFFFFFFFFU}) {
        EXPECT_EQ(ByteOrderMark(static_cast<TextEncoding>(value)), "") << value;
    }
}

TEST(CodePageOf, NamesThePageOfEachConvertedEncoding) {
    EXPECT_EQ(CodePageOf(TextEncoding::systemCodePage), 0U);
    EXPECT_EQ(CodePageOf(TextEncoding::utf8WithMark), 65001U);
    EXPECT_EQ(CodePageOf(TextEncoding::utf8), 65001U);
    EXPECT_EQ(CodePageOf(TextEncoding::westernEuropean), 1252U);
    EXPECT_EQ(CodePageOf(TextEncoding::westernEuropeanToo), 1252U);
}

TEST(CodePageOf, IsNoneForPlainUnitsAndUnknownValues) {
    for (const unsigned value : {0U, 4U, 5U, 6U, 7U, 10U}) {
        EXPECT_EQ(CodePageOf(static_cast<TextEncoding>(value)), std::nullopt) << value;
    }
}

TEST(EncodeUnits, LittleEndianPutsTheLowByteFirst) {
    EXPECT_EQ(EncodeUnits(L"A\x20AC", TextEncoding::utf16LittleEndian), std::string("A\0\xAC\x20", 4));
    EXPECT_EQ(EncodeUnits(L"A", TextEncoding::utf16LittleEndianWithMark), std::string("A\0", 2));
}

TEST(EncodeUnits, BigEndianPutsTheHighByteFirst) {
    EXPECT_EQ(EncodeUnits(L"A\x20AC", TextEncoding::utf16BigEndian), std::string("\0A\x20\xAC", 4));
    EXPECT_EQ(EncodeUnits(L"A", TextEncoding::utf16BigEndianWithMark), std::string("\0A", 2));
}

TEST(EncodeUnits, LowBytesCutsEachUnit) {
    EXPECT_EQ(EncodeUnits(L"A\x20AC\xFF", TextEncoding::lowBytes), "A\xAC\xFF");
}

TEST(EncodeUnits, KeepsLoneSurrogatesAndNuls) {
    const std::wstring text{static_cast<wchar_t>(0xD800), L'\0', static_cast<wchar_t>(0xDC00)};
    EXPECT_EQ(EncodeUnits(text, TextEncoding::utf16LittleEndian), std::string("\0\xD8\0\0\0\xDC", 6));
}

TEST(EncodeUnits, GivesNothingForAnUnknownEncoding) {
    EXPECT_EQ(EncodeUnits(L"A", aboveLast), "");
}

} // namespace
} // namespace keyreap
