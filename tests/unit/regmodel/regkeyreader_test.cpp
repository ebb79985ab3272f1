#include "tests/unit/regmodel/regdocuments.h"

namespace keyreap::testsupport {
namespace {

std::wstring PathOf(std::wstring_view lines) {
    const RegDocument document = Read(lines);
    EXPECT_EQ(document.sections.size(), 1u);
    return document.sections.empty() ? L"" : document.sections.front().path;
}

TEST(RegKeyReader, LastBracketOfTheLineEndsTheName) {
    EXPECT_EQ(PathOf(L"[a\\[b]]\r\n"), L"a\\[b]");
    EXPECT_EQ(PathOf(L"[a] ]\r\n"), L"a] ");
}

TEST(RegKeyReader, NameIsNotUnescaped) {
    EXPECT_EQ(PathOf(L"[a\\\\\"b\"]\r\n"), L"a\\\\\"b\"");
}

TEST(RegKeyReader, CommentMayFollowTheBracket) {
    EXPECT_EQ(PathOf(L"[a;b] ; c; d\r\n"), L"a;b");
}

TEST(RegKeyReader, MissingBracketIsAnErrorAtTheLinesEnd) {
    EXPECT_EQ(ErrorOf(L"\r\n[HKEY\r\n\"a\"=\"b]\"\r\n"), L":3:6: expected a closing bracket");
    EXPECT_EQ(ErrorOf(L"\r\n[HKEY\r\n\r\nx]\r\n"), L":3:6: expected a closing bracket");
    EXPECT_EQ(ErrorOf(L"\r\n[HKEY"), L":3:6: expected a closing bracket");
}

TEST(RegKeyReader, EmptyNameIsAnError) {
    EXPECT_EQ(ErrorOf(L"[]\r\n"), L":2:2: expected a key's name");
    EXPECT_EQ(ErrorOf(L"[-]\r\n"), L":2:3: expected a key's name");
}

TEST(RegKeyReader, NameWithALineBreakIsReadAndNamed) {
    const RegDocument document = Read(L"\r\n[a\r\nb]\r\n@=\"x\"\r\n");
    EXPECT_EQ(document.sections[0].path, L"a\r\nb");
    ASSERT_EQ(document.ambiguities.size(), 1u);
    EXPECT_EQ(document.ambiguities[0].line, 3u);
}

TEST(RegKeyReader, HalfALineBreakInANameIsPartOfIt) {
    const RegDocument document = Read(L"[a\nb\rc]\r\n");
    EXPECT_EQ(document.sections[0].path, L"a\nb\rc");
    EXPECT_TRUE(document.ambiguities.empty());
}

} // namespace
} // namespace keyreap::testsupport
