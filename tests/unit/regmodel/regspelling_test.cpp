#include "regmodel/regspelling.h"
#include "tests/unit/regmodel/regdocuments.h"

namespace keyreap::testsupport {
namespace {

RegEntry Entry(std::wstring_view name, std::wstring_view text) {
    RegEntry entry;
    entry.name = name;
    entry.data = UnitData(std::wstring(text) + L'\0');
    return entry;
}

TEST(RegSpelling, DefaultValueIsAnAtSign) {
    EXPECT_EQ(LeftSide(Entry(L"", L""), {}), L"@=");
}

TEST(RegSpelling, NamesAndTextsAreEscaped) {
    EXPECT_EQ(LeftSide(Entry(L"a\\\"", L""), {}), L"\"a\\\\\\\"\"=");
    EXPECT_EQ(TextSide(Entry(L"", L"\\a\r\n"), {}), L"\"\\\\a\r\n\"");
}

TEST(RegSpelling, LoneNamesAndTextsAreNot) {
    RegEntry entry = Entry(L"\\", L"\"");
    entry.hasLoneName = true;
    entry.damage = RegDamage::LoneEscape;
    EXPECT_EQ(LeftSide(entry, {}), L"\"\\\"=");
    EXPECT_EQ(TextSide(entry, {}), L"\"\"\"");
}

TEST(RegSpelling, LineBreaksAreEscapedInTheStyleOfWine) {
    RegStyle style;
    style.hasLineEscapes = true;
    EXPECT_EQ(LeftSide(Entry(L"a\n", L""), style), L"\"a\\n\"=");
    EXPECT_EQ(TextSide(Entry(L"", L"a\r\nb\\n"), style), L"\"a\\r\\nb\\\\n\"");
}

TEST(RegSpelling, EscapedLineBreaksAreReadInAFileWithAnEmptyLastLine) {
    const std::wstring_view content = L"\r\n[K]\r\n\"a\\n\"=\"\\r\\nb\\\\n\"\r\n\"n\"=\"\\nx\"\r\n\r\n";
    const RegDocument document = Read(content);
    EXPECT_TRUE(document.style.hasLineEscapes);
    ASSERT_EQ(document.sections[0].entries.size(), 2u);
    EXPECT_EQ(document.sections[0].entries[0].name, L"a\n");
    EXPECT_EQ(EntryText(document.sections[0].entries[0]), L"\r\nb\\n");
    EXPECT_EQ(document.sections[0].entries[1].kind, RegEntryKind::Value);
    EXPECT_TRUE(document.ambiguities.empty());
    ExpectSame(content);
}

TEST(RegSpelling, OneEscapedLineBreakMakesTheStyleWines) {
    EXPECT_TRUE(Read(L"\r\n[K]\r\n\"a\\n\"=\"b\"\r\n\r\n").style.hasLineEscapes);
    EXPECT_TRUE(Read(L"\r\n[K]\r\n\"a\"=\"b\\r\"\r\n\r\n").style.hasLineEscapes);
}

TEST(RegSpelling, WithoutThatLineABackslashBeforeALetterIsDamagedOrAnError) {
    EXPECT_EQ(EntryOf(L"@=\"\\nx\"\r\n").damage, RegDamage::LoneEscape);
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=\"a\\nx\"\r\n"),
              L":4:6: expected a backslash or a quote after a backslash");
}

TEST(RegSpelling, WithThatLineALoneBackslashIsStillDamaged) {
    EXPECT_EQ(Read(L"\r\n[K]\r\n@=\"\\\"\r\n\r\n").sections[0].entries[0].damage, RegDamage::LoneEscape);
    EXPECT_EQ(Read(L"\r\n[K]\r\n@=\"\\foo\"\r\n\r\n").sections[0].entries[0].damage, RegDamage::LoneEscape);
    EXPECT_FALSE(Read(L"\r\n[K]\r\n@=\"\\foo\"\r\n\r\n").style.hasLineEscapes);
}

} // namespace
} // namespace keyreap::testsupport
