#include "regmodel/othertext.h"
#include "tests/unit/regmodel/regdocuments.h"

namespace keyreap::testsupport {
namespace {

// The text of an entry that these units follow after its colon.
std::wstring TextOf(std::wstring_view units) {
    const RegDocument document = Read(HarvestWith(std::wstring(L"@=hex(b):").append(units)));
    const std::vector<RegEntry>& entries = document.sections.front().entries;
    EXPECT_FALSE(entries.empty());
    EXPECT_EQ(entries.front().kind, RegEntryKind::OtherText);
    EXPECT_EQ(entries.front().type, 11u);
    EXPECT_TRUE(entries.front().data.empty());
    return entries.front().otherText;
}

TEST(OtherText, PiecesAreJoined) {
    EXPECT_EQ(TextOf(L"16\r\n"), L"16");
    EXPECT_EQ(TextOf(L"C:,\\x\r\n"), L"C:\\x");
    EXPECT_EQ(TextOf(L"ab,c\r\n"), L"abc");
    EXPECT_EQ(TextOf(L"a\r\n"), L"a");
}

TEST(OtherText, EmptyTextHasNoPieces) {
    EXPECT_EQ(TextOf(L"\r\n"), L"");
    EXPECT_EQ(TextOf(L"\r\n\"n\"=\"x\"\r\n"), L"");
}

TEST(OtherText, LineBreaksInsidePiecesBelongToTheText) {
    EXPECT_EQ(TextOf(L"a\r,\nb,\r\n\r\n"), L"a\r\nb\r\n");
    EXPECT_EQ(TextOf(L"\r\n,a\r\n"), L"\r\na");
    EXPECT_EQ(TextOf(L"ab,\r\r\n"), L"ab\r");
    EXPECT_EQ(TextOf(L"ab,\n\r\n"), L"ab\n");
}

TEST(OtherText, LineBreakAloneIsATextWhereNoKeyFollowsDirectly) {
    EXPECT_EQ(TextOf(L"\r\n\r\n"), L"\r\n");
    EXPECT_EQ(TextOf(L"\r\n\r\n\"n\"=\"x\"\r\n"), L"\r\n");
}

TEST(OtherText, CommasQuotesAndBracketsAreText) {
    EXPECT_EQ(TextOf(L",,,\"[,]]\r\n"), L",,\"[]]");
}

TEST(OtherText, LineIsBrokenAfterTwentyFivePieces) {
    std::wstring line;
    for (int i = 0; i < 25; ++i) {
        line += L"xx,";
    }
    EXPECT_EQ(TextOf(line + L"\\\r\n  yz\r\n"), std::wstring(50, L'x') + L"yz");
    EXPECT_EQ(TextOf(line.substr(0, line.size() - 1) + L"\r\n"), std::wstring(50, L'x'));
}

TEST(OtherText, PiecesOfAnotherLengthAreAnError) {
    EXPECT_EQ(ErrorOf(HarvestWith(L"@=hex(b):abc,d\r\n")),
              L":4:12: expected a comma after two characters of another value's text");
}

TEST(OtherText, EndOfTheFileAfterACommaIsAnError) {
    RegSource source;
    source.text = L"ab,";
    const auto result = ReadOtherText(source, 0);
    ASSERT_TRUE(std::holds_alternative<RegFault>(result));
    EXPECT_EQ(std::get<RegFault>(result).at, 3u);
}

TEST(OtherText, FileMayEndAfterThePieces) {
    RegSource source;
    for (const std::wstring_view text : {L"", L"a", L"ab", L"ab,c", L"\r", L"\r\n"}) {
        source.text = text;
        EXPECT_TRUE(std::holds_alternative<OtherText>(ReadOtherText(source, 0)));
    }
}

TEST(OtherText, OnlyAHarvestHasOtherTexts) {
    const RegEntry entry = EntryOf(L"@=hex(b):16\r\n");
    EXPECT_EQ(entry.kind, RegEntryKind::Value);
    EXPECT_EQ(entry.data, (Bytes{0x16}));
}

} // namespace
} // namespace keyreap::testsupport
