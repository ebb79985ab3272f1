#include "tests/unit/regmodel/regdocuments.h"

namespace keyreap::testsupport {
namespace {

TEST(RegEntryReader, AtSignIsTheDefaultValue) {
    EXPECT_EQ(EntryOf(L"@=\"a\"\r\n").name, L"");
}

TEST(RegEntryReader, EmptyNameIsTheDefaultValueToo) {
    EXPECT_EQ(EntryOf(L"\"\"=\"a\"\r\n"), EntryOf(L"@=\"a\"\r\n"));
}

TEST(RegEntryReader, EscapesInANameAreUndone) {
    EXPECT_EQ(EntryOf(L"\"C:\\\\a\\\"\"=\"x\"\r\n").name, L"C:\\a\"");
}

TEST(RegEntryReader, NameMayContainSignsOfOtherEntries) {
    EXPECT_EQ(EntryOf(L"\"a=b;[c]@\r\n\"=\"x\"\r\n").name, L"a=b;[c]@\r\n");
}

TEST(RegEntryReader, NameNeedsAnEqualsSign) {
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n\"a\" \"b\"\r\n"), L":4:5: expected an equals sign");
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n@\r\n"), L":4:2: expected an equals sign");
}

TEST(RegEntryReader, LoneBackslashOrQuoteInANameIsDamaged) {
    for (const std::wstring_view name : {L"\\", L"\"", L"\\foo", L"\"foo", L"\"="}) {
        const RegEntry entry = EntryOf(std::wstring(L"\"").append(name).append(L"\"=\"x\"\r\n"));
        EXPECT_EQ(entry.kind, RegEntryKind::Damaged);
        EXPECT_TRUE(entry.hasLoneName);
        EXPECT_EQ(entry.name, name);
        EXPECT_EQ(EntryText(entry), L"x");
    }
}

TEST(RegEntryReader, NameAndTextCanBothBeDamaged) {
    const RegEntry entry = EntryOf(L"\"\\\"=\"\"\"\r\n");
    EXPECT_EQ(entry.name, L"\\");
    EXPECT_EQ(entry.damage, RegDamage::LoneEscape);
    EXPECT_TRUE(entry.hasLoneName);
}

TEST(RegEntryReader, EscapedNameAndTextAreNotTakenForLoneOnes) {
    EXPECT_EQ(EntryOf(L"\"\\\\\"=\"\\\"\"\r\n").kind, RegEntryKind::Value);
    EXPECT_EQ(EntryOf(L"\"\\\\\"=\"\\\"\"\r\n").name, L"\\");
}

TEST(RegEntryReader, LoneBackslashIsTakenForAnEscapeWhereTheRestIsNoEntry) {
    const std::vector<RegEntry> entries = EntriesOf(L"\"a\"=\"\\\"\r\n\"b\"=\"c\"\r\n");
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(EntryText(entries[0]), L"\\");
}

TEST(RegEntryReader, EscapedQuoteBeforeALineBreakIsNoLoneBackslashWhereTheRestIsNoEntry) {
    const RegEntry entry = EntryOf(L"@=\"\\\"\r\nx\"\r\n");
    EXPECT_EQ(entry.kind, RegEntryKind::Value);
    EXPECT_EQ(EntryText(entry), L"\"\r\nx");
}

// Either a backslash and then an entry with a line break, or an entry with a line break and then a comment.
TEST(RegEntryReader, AmbiguousPlaceIsNamedAndReadLineByLine) {
    const RegDocument document = Read(L"\r\n[K]\r\n@=\"\\\"\r\n@=\"\r\n;\"\r\n");
    ASSERT_EQ(document.ambiguities.size(), 1u);
    EXPECT_EQ(document.ambiguities[0].line, 4u);
    ASSERT_EQ(document.sections[0].entries.size(), 2u);
    EXPECT_EQ(EntryText(document.sections[0].entries[0]), L"\\");
    EXPECT_EQ(EntryText(document.sections[0].entries[1]), L"\r\n;");
}

TEST(RegEntryReader, ReadingIsNotAmbiguousWhereOnlyOneIsFollowedByAnEntry) {
    const RegDocument document = Read(L"\r\n[K]\r\n@=\"\\\"\r\n@\\\\\"\r\n\"a\"=\"b\"\r\n");
    EXPECT_TRUE(document.ambiguities.empty());
    EXPECT_EQ(EntryText(document.sections[0].entries[0]), L"\"\r\n@\\");
}

TEST(RegEntryReader, LineBreakInANameIsNotAmbiguousByItself) {
    EXPECT_TRUE(Read(L"\r\n[K]\r\n\"a\r\nb\"=\"c\r\n\"\r\n").ambiguities.empty());
}

TEST(RegEntryReader, DeletionOfADamagedNameIsAnError) {
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n\"\\\"=-\r\n"), L":4:6: expected a closing quote");
}

} // namespace
} // namespace keyreap::testsupport
