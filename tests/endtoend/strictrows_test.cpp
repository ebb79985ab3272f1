// The table of what differs at a strict host, and what its rows do to results.
#include "tests/endtoend/harness/strictrows.h"

#include <gtest/gtest.h>

namespace keyreap::endtoend {

namespace {

using Texts = std::vector<std::wstring>;

const std::wstring header = L"header";
const std::wstring one = L"\r\n[ROOT\\One]\r\n@=\"1\"\r\n\"a\"=\"b\"\r\n";
const std::wstring two = L"\r\n[ROOT\\Two]\r\n";

StrictRow Row(const std::wstring& entry) {
    std::wstring wrong;
    const std::vector<StrictRow> rows =
        ParseStrictRows(L"rule r: why\nSuite.Test  r  " + entry + L"\n", wrong);
    EXPECT_EQ(wrong, L"");
    return rows.empty() ? StrictRow() : rows.front();
}

// Whether the row applies, and makes the result equal to what is expected.
bool MakesEqual(const std::wstring& entry, Texts actual, Texts expected) {
    return Apply(Row(entry), actual, expected) && actual == expected;
}

TEST(StrictRows, AStarStandsForAnyText) {
    EXPECT_TRUE(Matches(L"A*C*", L"ABC"));
    EXPECT_TRUE(Matches(L"*", L""));
    EXPECT_FALSE(Matches(L"A*C", L"ABCD"));
    EXPECT_FALSE(Matches(L"A", L"AB"));
}

TEST(StrictRows, ARowIsForTheTestsOfItsPatternsButThoseItExcludes) {
    StrictRow row;
    row.tests = L"A.*,B.One,-A.Two";
    EXPECT_TRUE(IsFor(row, L"A.One/x64"));
    EXPECT_TRUE(IsFor(row, L"B.One"));
    EXPECT_FALSE(IsFor(row, L"A.Two"));
    EXPECT_FALSE(IsFor(row, L"B.Two"));
}

TEST(StrictRows, AKeyMayBeAddedWithItsValues) {
    EXPECT_TRUE(MakesEqual(L"+ ROOT\\One", {header, one, two}, {header, two}));
    EXPECT_TRUE(MakesEqual(L"+ ROOT\\*", {header, one, two}, {header, two}));
    EXPECT_TRUE(MakesEqual(L"? ROOT\\One", {header, one}, {header}));
    EXPECT_FALSE(MakesEqual(L"+ ROOT\\One", {header, two}, {header, two}));
    EXPECT_FALSE(MakesEqual(L"+ ROOT\\One", {header, one, two}, {header}));
}

TEST(StrictRows, AnAddedKeyHasNoFiller) {
    const std::wstring lost = L"\r\n[ROOT\\One]\r\n@=\"" + std::wstring(10, L'\x5555') + L"\"\r\n";
    EXPECT_FALSE(MakesEqual(L"+ ROOT\\One", {header, lost}, {header}));
    EXPECT_FALSE(MakesEqual(L"? ROOT\\*", {header, lost}, {header}));
}

TEST(StrictRows, AnAddedKeyMayHaveToHaveTheseLines) {
    EXPECT_TRUE(MakesEqual(L"+ ROOT\\One = @=\"1\", \"a\"=\"b\"", {header, one, two}, {header, two}));
    EXPECT_FALSE(MakesEqual(L"+ ROOT\\One = @=\"1\"", {header, one, two}, {header, two}));
    EXPECT_FALSE(MakesEqual(L"+ ROOT\\One =", {header, one, two}, {header, two}));
    EXPECT_TRUE(MakesEqual(L"+ ROOT\\Two =", {header, one, two}, {header, one}));
    EXPECT_EQ(Row(L"+ ROOT\\One = @=\"1\"").key, L"ROOT\\One");
}

TEST(StrictRows, AValueMayBeAdded) {
    const std::wstring less = L"\r\n[ROOT\\One]\r\n@=\"1\"\r\n";
    EXPECT_TRUE(MakesEqual(L"+ ROOT\\One \"a\"", {header, one}, {header, less}));
    EXPECT_FALSE(MakesEqual(L"+ ROOT\\One \"b\"", {header, one}, {header, less}));
    EXPECT_FALSE(MakesEqual(L"+ ROOT\\Two \"a\"", {header, one}, {header, less}));
}

TEST(StrictRows, AKeyMayBeMissing) {
    EXPECT_TRUE(MakesEqual(L"- ROOT\\Two", {header, one}, {header, one, two}));
    EXPECT_FALSE(MakesEqual(L"- ROOT\\Two", {header, one}, {header, one}));
}

TEST(StrictRows, AKeyMayMoveWithAllItsValues) {
    const std::wstring moved = L"\r\n[ROOT\\Moved]\r\n@=\"1\"\r\n\"a\"=\"b\"\r\n";
    const std::wstring other = L"\r\n[ROOT\\Moved]\r\n@=\"2\"\r\n";
    EXPECT_TRUE(MakesEqual(L"ROOT\\One => ROOT\\Moved", {header, two, moved}, {header, one, two}));
    EXPECT_FALSE(MakesEqual(L"ROOT\\One => ROOT\\Moved", {header, two, other}, {header, one, two}));
}

TEST(StrictRows, ChangesMayComeAndGo) {
    EXPECT_TRUE(MakesEqual(L"change HKCU\\A*", {L"- HKCU\\A\\B", L"! HKCU\\A [v]"}, {}));
    EXPECT_TRUE(MakesEqual(L"? change HKCU\\A", {L"+ HKCU\\A"}, {}));
    EXPECT_TRUE(MakesEqual(L"no change + HKCU\\A", {}, {L"+ HKCU\\A"}));
    EXPECT_FALSE(MakesEqual(L"no change - HKCU\\A", {}, {L"+ HKCU\\A"}));
}

TEST(StrictRows, AnEntryMayBeThatOfOneFile) {
    EXPECT_EQ(Row(L"b.reg: + ROOT\\One").file, L"b.reg");
    EXPECT_EQ(Row(L"b.reg: + ROOT\\One").key, L"ROOT\\One");
    EXPECT_EQ(Row(L"+ ROOT\\One").file, L"");
}

TEST(StrictRows, ALineWithoutARuleOrAnEntryIsWrong) {
    for (const wchar_t* line :
         {L"Suite.Test", L"Suite.Test  other  + KEY", L"Suite.Test  r", L"Suite.Test  r  KEY"}) {
        std::wstring wrong;
        ParseStrictRows(L"# text\nrule r: why\n    and more\n\n" + std::wstring(line), wrong);
        EXPECT_EQ(wrong, line + std::wstring(L"\n"));
    }
}

} // namespace

} // namespace keyreap::endtoend
