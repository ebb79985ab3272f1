#include "regfile/pathsubstitution.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

std::wstring Replaced(std::wstring subject, std::wstring_view from, std::wstring_view to) {
    ReplaceAll(subject, from, to);
    return subject;
}

TEST(ReplaceAll, EmptySubjectOrFromChangesNothing) {
    EXPECT_EQ(Replaced(L"", L"a", L"b"), L"");
    EXPECT_EQ(Replaced(L"abc", L"", L"x"), L"abc");
}

TEST(ReplaceAll, ReplacesEveryMatch) {
    EXPECT_EQ(Replaced(L"T;x;T", L"T", L"final"), L"final;x;final");
    EXPECT_EQ(Replaced(L"aaaa", L"aa", L"b"), L"bb");
}

TEST(ReplaceAll, ReplacedTextIsNotSearchedAgain) {
    EXPECT_EQ(Replaced(L"a", L"a", L"aa"), L"aa");
    EXPECT_EQ(Replaced(L"aab", L"ab", L"b"), L"ab");
}

TEST(ReplaceAll, CaseCounts) {
    EXPECT_EQ(Replaced(L"c:\\\\temp", L"C:\\\\temp", L"x"), L"c:\\\\temp");
}

TEST(ReplaceAll, MatchIsRemovedByAnEmptyTo) {
    EXPECT_EQ(Replaced(L"abcabc", L"b", L""), L"acac");
}

TEST(ApplyReplacements, EachWorksOnTheResultOfTheOneBefore) {
    std::wstring subject = L"C:\\\\t\\\\a.dll;C:\\\\t\\\\b.dll";
    ApplyReplacements(subject,
                      {{L"C:\\\\t\\\\a.dll", L"\\\\\\\\s\\\\h\\\\a.dll"}, {L"C:\\\\t", L"\\\\\\\\s\\\\h"}});
    EXPECT_EQ(subject, L"\\\\\\\\s\\\\h\\\\a.dll;\\\\\\\\s\\\\h\\\\b.dll");
}

TEST(ApplyReplacements, EmptyFromIsHarmless) {
    std::wstring subject = L"a";
    ApplyReplacements(subject, {{L"", L"x"}, {L"a", L"b"}});
    EXPECT_EQ(subject, L"b");
}

} // namespace
} // namespace keyreap
