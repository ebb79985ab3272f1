#include "tests/unit/regmodel/regdocuments.h"

namespace keyreap::testsupport {
namespace {

void ExpectBytes(std::wstring_view line, std::uint32_t type, const Bytes& data) {
    const RegEntry entry = EntryOf(line);
    EXPECT_EQ(entry.kind, RegEntryKind::Value);
    EXPECT_EQ(entry.type, type);
    EXPECT_EQ(entry.data, data);
}

TEST(RegValueReader, TextHasItsTerminator) {
    ExpectBytes(L"@=\"ab\"\r\n", 1, {'a', 0, 'b', 0, 0, 0});
    ExpectBytes(L"@=\"\"\r\n", 1, {0, 0});
}

TEST(RegValueReader, EscapesInATextAreUndone) {
    EXPECT_EQ(EntryText(EntryOf(L"@=\"C:\\\\a \\\"b\\\"\"\r\n")), L"C:\\a \"b\"");
}

TEST(RegValueReader, TextMayContainLineBreaksAndSemicolons) {
    EXPECT_EQ(EntryText(EntryOf(L"@=\"a\r\n;b\n[c]\"\r\n")), L"a\r\n;b\n[c]");
}

TEST(RegValueReader, AnyOtherEscapeIsAnError) {
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=\"C:\\a\"\r\n"),
              L":4:7: expected a backslash or a quote after a backslash");
}

TEST(RegValueReader, TextWithoutClosingQuoteIsAnErrorAtItsLinesEnd) {
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=\"ab\r\n\"n\"=\"c\"\r\n"), L":4:6: expected a closing quote");
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=\"ab\r\n"), L":4:6: expected a closing quote");
}

TEST(RegValueReader, WordAfterATextIsAnError) {
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=\"ab\" c\r\n"), L":4:7: expected the end of the line");
}

TEST(RegValueReader, NumberHasUpToEightDigitsOfEitherCase) {
    ExpectBytes(L"@=dword:12345aBc\r\n", 4, {0xBC, 0x5A, 0x34, 0x12});
    ExpectBytes(L"@=dword:1\r\n", 4, {1, 0, 0, 0});
    ExpectBytes(L"@=DWORD:ff\r\n", 4, {0xFF, 0, 0, 0});
}

TEST(RegValueReader, NumberWithoutDigitsOrWithTooManyIsAnError) {
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=dword:x\r\n"), L":4:9: expected one to eight hexadecimal digits");
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=dword:123456789\r\n"), L":4:17: expected the end of the line");
}

TEST(RegValueReader, BytesAreBinary) {
    ExpectBytes(L"@=hex:00,aF,1\r\n", 3, {0, 0xAF, 1});
    ExpectBytes(L"@=hex:\r\n", 3, {});
}

TEST(RegValueReader, BytesOfAnyTypeKeepTheirType) {
    ExpectBytes(L"@=hex(0):01\r\n", 0, {1});
    ExpectBytes(L"@=hex(2):61,00,00,00\r\n", 2, {'a', 0, 0, 0});
    ExpectBytes(L"@=hex(b):01,00,00,00,00,00,00,00\r\n", 11, {1, 0, 0, 0, 0, 0, 0, 0});
    ExpectBytes(L"@=hex(FFFF0007):02\r\n", 0xFFFF0007, {2});
}

TEST(RegValueReader, FormIsKeptWhereATypeHasSeveral) {
    EXPECT_EQ(EntryOf(L"@=hex(4):01,00,00,00\r\n").form, RegForm::TypedBytes);
    EXPECT_EQ(EntryOf(L"@=dword:00000001\r\n").form, RegForm::Number);
    EXPECT_EQ(EntryOf(L"@=hex(1):00,00\r\n").form, RegForm::TypedBytes);
    EXPECT_EQ(EntryOf(L"@=hex(3):00\r\n").form, RegForm::TypedBytes);
    EXPECT_EQ(EntryOf(L"@=hex:00\r\n").form, RegForm::Bytes);
}

TEST(RegValueReader, BackslashContinuesALineOfBytes) {
    ExpectBytes(L"@=hex:01,\\\r\n  02,\\ ; a comment\r\n\t03\r\n", 3, {1, 2, 3});
    ExpectBytes(L"@=hex(7):\\\r\n  00,00\r\n", 7, {0, 0});
}

TEST(RegValueReader, UnfinishedBytesAreAnError) {
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=hex:01,\r\n"),
              L":4:10: expected a byte of one or two hexadecimal digits");
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=hex:01,g\r\n"),
              L":4:10: expected a byte of one or two hexadecimal digits");
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=hex:001\r\n"), L":4:9: expected the end of the line");
}

TEST(RegValueReader, TypeNeedsDigitsAndItsParenthesis) {
    const std::wstring expected = L": expected a type in parentheses, of one to eight hexadecimal digits";
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=hex():01\r\n"), L":4:7" + expected);
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=hex(2:01\r\n"), L":4:8" + expected);
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=hex(123456789):01\r\n"), L":4:15" + expected);
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=hex(2) 01\r\n"), L":4:9: expected a colon");
}

TEST(RegValueReader, AnyOtherWordIsAnError) {
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=word\r\n"),
              L":4:3: expected a text in quotes, dword:, hex:, hex(n): or a minus sign");
}

TEST(RegValueReader, MinusSignDeletes) {
    const RegEntry entry = EntryOf(L"\"a\"=-\r\n");
    EXPECT_EQ(entry.kind, RegEntryKind::Deletion);
    EXPECT_EQ(entry.name, L"a");
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=-1\r\n"), L":4:4: expected the end of the line");
}

TEST(RegValueReader, NothingAfterTheSignIsDamaged) {
    const RegEntry entry = EntryOf(L"\"a\"=\r\n");
    EXPECT_EQ(entry.kind, RegEntryKind::Damaged);
    EXPECT_EQ(entry.damage, RegDamage::NoData);
    EXPECT_EQ(EntryText(entry), std::nullopt);
}

TEST(RegValueReader, LeadingCommaOfAnEmptyTextIsDamaged) {
    const RegEntry entry = EntryOf(L"@=hex(2):,00,00\r\n");
    EXPECT_EQ(entry.kind, RegEntryKind::Damaged);
    EXPECT_EQ(entry.damage, RegDamage::LeadingComma);
    EXPECT_EQ(EntryText(entry), L"");
    EXPECT_EQ(EntryOf(L"@=hex(7):,00,00\r\n").damage, RegDamage::LeadingComma);
}

TEST(RegValueReader, AnyOtherLeadingCommaIsAnError) {
    const std::wstring expected = L": expected a byte of one or two hexadecimal digits";
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=hex:,00,00\r\n"), L":4:7" + expected);
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@=hex(2):,00\r\n"), L":4:10" + expected);
}

TEST(RegValueReader, LoneBackslashOrQuoteInATextIsDamaged) {
    for (const std::wstring_view text : {L"\\", L"\"", L"\\foo", L"\"foo"}) {
        const RegEntry entry = EntryOf(std::wstring(L"@=\"").append(text).append(L"\"\r\n"));
        EXPECT_EQ(entry.kind, RegEntryKind::Damaged);
        EXPECT_EQ(entry.damage, RegDamage::LoneEscape);
        EXPECT_EQ(EntryText(entry), text);
    }
}

TEST(RegValueReader, TextsOfREGEDIT4AreEightBit) {
    const RegDocument document = ReadBytes(
        EightBit("REGEDIT4\r\n\r\n[K]\r\n@=hex(2):61,80,00\r\n\"l\"=hex(7):62,00,00\r\n\"b\"=hex:61\r\n"));
    const std::vector<RegEntry>& entries = document.sections[0].entries;
    EXPECT_EQ(EntryText(entries[0]), L"a\x20AC");
    EXPECT_EQ(entries[1].data, (Bytes{'b', 0, 0, 0, 0, 0}));
    EXPECT_EQ(entries[2].data, (Bytes{'a'}));
}

} // namespace
} // namespace keyreap::testsupport
