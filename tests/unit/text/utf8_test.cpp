#include "platform/core/text/utf8.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

// One character of each length: 24, A3, 939 and 1F600.
const std::wstring units = L"$\x00A3\x0939\xD83D\xDE00";
const std::string bytes = "$\xC2\xA3\xE0\xA4\xB9\xF0\x9F\x98\x80";

TEST(Utf8OfUnits, EncodesCharactersOfEachLength) {
    EXPECT_EQ(Utf8OfUnits(units), bytes);
    EXPECT_EQ(Utf8OfUnits(L""), "");
    EXPECT_EQ(Utf8OfUnits(std::wstring(1, L'\0')), std::string(1, '\0'));
    EXPECT_EQ(Utf8OfUnits(L"\x007F\x0080\x07FF\x0800\xFFFF"), "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
}

TEST(Utf8OfUnits, HasNoBytesForALoneSurrogate) {
    EXPECT_EQ(Utf8OfUnits(L"a\xD83D"), std::nullopt);
    EXPECT_EQ(Utf8OfUnits(L"\xD83Dz"), std::nullopt);
    EXPECT_EQ(Utf8OfUnits(L"\xDE00\xD83D"), std::nullopt);
}

TEST(ReadableUtf8, ReplacesALoneSurrogate) {
    EXPECT_EQ(ReadableUtf8(L"a\xDE00z"), "a\xEF\xBF\xBDz");
    EXPECT_EQ(ReadableUtf8(units), bytes);
}

TEST(UnitsOfUtf8, DecodesCharactersOfEachLength) {
    EXPECT_EQ(UnitsOfUtf8(bytes), units);
    EXPECT_EQ(UnitsOfUtf8(""), L"");
    EXPECT_EQ(UnitsOfUtf8("\xF4\x8F\xBF\xBF"), L"\xDBFF\xDFFF");
}

TEST(UnitsOfUtf8, TakesEachCharacterInItsOnlyForm) {
    for (const char* const wrong :
         {"\x80", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
          "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xC2", "\xC2z", "\xE0\xA4", "\xF0\x9F\x98", "\xFF"}) {
        EXPECT_EQ(UnitsOfUtf8(wrong), std::nullopt);
    }
}

TEST(LosslessUtf8, IsUtf8WhereUtf8CanSayIt) {
    EXPECT_EQ(LosslessUtf8(units), bytes);
    EXPECT_EQ(UnitsOfLossless(bytes), units);
    EXPECT_EQ(LosslessUtf8(L""), "");
}

TEST(LosslessUtf8, EscapesHalfACharacterAndTheMarkOfAnEscape) {
    EXPECT_EQ(LosslessUtf8(L"a\xD83Dz"), "a\xEF\xBF\xBD"
                                         "D83Dz");
    EXPECT_EQ(LosslessUtf8(L"\xDE00\xD83D"), "\xEF\xBF\xBD"
                                             "DE00\xEF\xBF\xBD"
                                             "D83D");
    EXPECT_EQ(LosslessUtf8(L"\xFFFD"), "\xEF\xBF\xBD"
                                       "FFFD");
}

TEST(LosslessUtf8, IsReadAsItWas) {
    for (const std::wstring& text :
         {std::wstring(L"\xD83D"), std::wstring(L"\xDE00\xD83D\xDE00"), std::wstring(L"\xFFFD"),
          std::wstring(L"\xFFFD") + L"D83D", std::wstring(L"\xFFFD\xD83D") + L"FFFD", units + L"\xDFFF"}) {
        EXPECT_EQ(UnitsOfLossless(LosslessUtf8(text)), text);
    }
}

TEST(UnitsOfLossless, TakesTheMarkAloneForItself) {
    for (const char* const digits : {"", "D83", "d83d", "0041", "D7FF", "E000", "D83"}) {
        const std::string text = std::string("\xEF\xBF\xBD") + digits;
        EXPECT_EQ(UnitsOfLossless(text), UnitsOfUtf8(text)) << digits;
    }
    EXPECT_EQ(UnitsOfLossless("\xED\xA0\x80"), std::nullopt);
}

} // namespace
} // namespace keyreap
