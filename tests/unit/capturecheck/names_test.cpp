#include "tools/capturecheck/names.h"

#include <gtest/gtest.h>

#include <clocale>

namespace keyreap {
namespace {

TEST(CodePointsTest, AreThoseOfUtf8) {
    EXPECT_EQ(CodePoints("a\u00E9\u5555\U0001F600"), U"a\u00E9\u5555\U0001F600");
    EXPECT_EQ(CodePoints(""), U"");
}

TEST(CodePointsTest, AreNoneForOtherBytes) {
    for (const char* bytes :
         {"\xE9", "a\xC3", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"}) {
        EXPECT_EQ(CodePoints(bytes), std::nullopt) << bytes;
    }
}

TEST(FoldedNameTest, IsTheSameForLettersOfEitherCase) {
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    EXPECT_EQ(FoldedName("Server.DLL"), FoldedName("sERVER.dll"));
    EXPECT_EQ(FoldedName("\u00E9\u03C9"), FoldedName("\u00C9\u03A9"));
    EXPECT_NE(FoldedName("server.dll"), FoldedName("servers.dll"));
}

TEST(FoldedNameTest, LeavesOtherBytesAlone) {
    EXPECT_EQ(FoldedName("a\xFF"), "a\xFF");
}

TEST(PrintableNameTest, ShowsWhatALineCannotHold) {
    EXPECT_EQ(PrintableName("a \u00E9.dll"), "a \u00E9.dll");
    EXPECT_EQ(PrintableName("a\nb\x7F\xFF"), "a\\x0ab\\x7f\\xff");
    // The first of these begins a terminal's command, the others begin a line.
    EXPECT_EQ(PrintableName("\u009B2J\u0085\u2028"), "\\xc2\\x9b2J\\xc2\\x85\\xe2\\x80\\xa8");
}

TEST(NameDistanceTest, CountsLettersThatDiffer) {
    EXPECT_EQ(NameDistance("server.dll", "SERVER.DLL"), 0u);
    EXPECT_EQ(NameDistance("server.dll", "sever.dll"), 1u);
    EXPECT_EQ(NameDistance("server.dll", "servre.dll"), 1u);
    EXPECT_EQ(NameDistance("abc", ""), 3u);
    EXPECT_EQ(NameDistance("", ""), 0u);
    EXPECT_EQ(NameDistance("kitten", "sitting"), 3u);
}

} // namespace
} // namespace keyreap
