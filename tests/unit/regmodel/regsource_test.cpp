#include "regmodel/regsource.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

RegSource Source(std::wstring_view text) {
    RegSource source;
    source.text = text;
    return source;
}

TEST(RegSource, NothingIsAfterTheEnd) {
    EXPECT_TRUE(IsAt(Source(L"ab"), 1, L"b"));
    EXPECT_FALSE(IsAt(Source(L"ab"), 1, L"bc"));
    EXPECT_FALSE(IsAt(Source(L"ab"), 3, L"b"));
}

TEST(RegSource, EndOfTheFileIsALineEnd) {
    EXPECT_TRUE(IsLineEnd(Source(L"a\r\nb"), 1));
    EXPECT_TRUE(IsLineEnd(Source(L"a\r\nb"), 4));
    EXPECT_FALSE(IsLineEnd(Source(L"a\rb"), 1));
    EXPECT_EQ(AfterLineEnd(Source(L"a\r\nb"), 0), 3u);
    EXPECT_EQ(AfterLineEnd(Source(L"ab"), 0), 2u);
}

TEST(RegSource, RestOfALineIsBlanksAndAComment) {
    EXPECT_EQ(AfterRestOfLine(Source(L"a \t; b\r\nc"), 1), 8u);
    EXPECT_EQ(AfterRestOfLine(Source(L"a \t"), 1), 3u);
    EXPECT_EQ(AfterRestOfLine(Source(L"a b"), 1), std::nullopt);
}

TEST(RegSource, LastLineIsEmptyIfItHasBlanksAtMost) {
    EXPECT_TRUE(HasEmptyLastLine(Source(L"a\r\n\r\n")));
    EXPECT_TRUE(HasEmptyLastLine(Source(L"a\r\n \t\r\n")));
    EXPECT_TRUE(HasEmptyLastLine(Source(L"a\r\n ")));
    EXPECT_FALSE(HasEmptyLastLine(Source(L"a\r\n")));
    EXPECT_FALSE(HasEmptyLastLine(Source(L"a")));
    EXPECT_FALSE(HasEmptyLastLine(Source(L"a\r\n\r\nb\r\n")));
    EXPECT_FALSE(HasEmptyLastLine(Source(L"")));
}

TEST(RegSource, LoneTextHasNoOtherBackslashOrQuote) {
    EXPECT_EQ(ReadLoneText(Source(L"\"\\foo\""), 0)->text, L"\\foo");
    EXPECT_EQ(ReadLoneText(Source(L"\"\"\""), 0)->end, 3u);
    EXPECT_FALSE(ReadLoneText(Source(L"\"foo\""), 0).has_value());
    EXPECT_FALSE(ReadLoneText(Source(L"\"\\a\\b\""), 0).has_value());
    EXPECT_FALSE(ReadLoneText(Source(L"\"\\foo"), 0).has_value());
    EXPECT_FALSE(ReadLoneText(Source(L"\""), 0).has_value());
}

} // namespace
} // namespace keyreap
