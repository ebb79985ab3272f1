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

} // namespace
} // namespace keyreap
