#include "tests/unit/regmodel/regdocuments.h"

#include <chrono>

namespace keyreap::testsupport {
namespace {

TEST(RegTextReader, HeaderAloneIsADocumentWithoutKeys) {
    EXPECT_TRUE(Read(L"").sections.empty());
}

TEST(RegTextReader, HeaderWithoutLineEndIsEnough) {
    EXPECT_TRUE(ReadBytes(Utf16(L"Windows Registry Editor Version 5.00")).sections.empty());
}

TEST(RegTextReader, AnyOtherHeaderIsAnError) {
    const std::wstring expected =
        L":1:1: expected the line \"Windows Registry Editor Version 5.00\" or \"REGEDIT4\"";
    EXPECT_EQ(ErrorOfBytes(Utf16(L"Windows Registry Editor Version 5.01\r\n")), expected);
    EXPECT_EQ(ErrorOfBytes({}), expected);
    EXPECT_EQ(ErrorOfBytes(EightBit("\xEF\xBB\xBFREGEDIT4\r\n")), expected);
}

TEST(RegTextReader, KeysAreInTheFilesOrderWithTheirEntries) {
    const RegDocument document = Read(L"\r\n[B]\r\n@=\"1\"\r\n\"n\"=\"2\"\r\n\r\n[A]\r\n");
    ASSERT_EQ(document.sections.size(), 2u);
    EXPECT_EQ(document.sections[0].path, L"B");
    ASSERT_EQ(document.sections[0].entries.size(), 2u);
    EXPECT_EQ(document.sections[0].entries[1].name, L"n");
    EXPECT_EQ(document.sections[1].path, L"A");
}

TEST(RegTextReader, AKeyThatIsInTheFileTwiceHasTwoSections) {
    EXPECT_EQ(Read(L"\r\n[K]\r\n\r\n[K]\r\n").sections.size(), 2u);
}

TEST(RegTextReader, LinesOfKeysAndEntriesAreCounted) {
    const RegDocument document =
        Read(L"\r\n[K]\r\n\"a\"=\"x\r\ny\"\r\n\"b\"=hex:01,\\\r\n  02\r\n@=\"\"\r\n");
    EXPECT_EQ(document.sections[0].line, 3u);
    EXPECT_EQ(document.sections[0].entries[0].line, 4u);
    EXPECT_EQ(document.sections[0].entries[1].line, 6u);
    EXPECT_EQ(document.sections[0].entries[2].line, 8u);
}

TEST(RegTextReader, EmptyLinesAndBlanksDoNotMatter) {
    const RegDocument document = Read(L" \r\n  [K] \t\r\n\r\n \t\"a\" = \t\"b\" \r\n");
    EXPECT_EQ(document.sections, Read(L"\r\n[K]\r\n\"a\"=\"b\"\r\n").sections);
}

TEST(RegTextReader, CommentsAreCountedAndLeftOut) {
    const RegDocument document = Read(L"; a\r\n[K] ; b\r\n  ; c\r\n\"a\"=\"b\" ; d\r\n\"n\"=dword:1;e\r\n");
    EXPECT_EQ(document.sections, Read(L"\r\n[K]\r\n\"a\"=\"b\"\r\n\"n\"=dword:1\r\n").sections);
    EXPECT_EQ(document.comments, 2u);
}

TEST(RegTextReader, LastLineNeedsNoLineEnd) {
    EXPECT_EQ(Read(L"\r\n[K]\r\n@=\"b\"").sections, Read(L"\r\n[K]\r\n@=\"b\"\r\n").sections);
}

TEST(RegTextReader, LinesMayEndInLineFeeds) {
    const RegDocument document = ReadBytes(EightBit("REGEDIT4\n\n[K]\n@=hex:01,\\\n  02\n"));
    EXPECT_EQ(document.style.lineEnd, RegLineEnd::Lf);
    EXPECT_EQ(document.sections[0].entries[0].data, (Bytes{1, 2}));
}

TEST(RegTextReader, FirstLineDecidesHowLinesEnd) {
    EXPECT_EQ(ErrorOf(L"\r\n[K]\n\r\n"), L":4:1: expected a closing bracket");
}

TEST(RegTextReader, DeletedKeysAreMarked) {
    const RegDocument document = Read(L"\r\n[-K\\L]\r\n");
    EXPECT_TRUE(document.sections[0].isDeletion);
    EXPECT_EQ(document.sections[0].path, L"K\\L");
}

TEST(RegTextReader, EightBitTextsAreTakenForWindows1252) {
    const RegDocument document = ReadBytes(EightBit("REGEDIT4\r\n\r\n[\xDC]\r\n\"\x80\"=\"\x9D\"\r\n"));
    EXPECT_EQ(document.style.encoding, RegEncoding::Windows1252);
    EXPECT_EQ(document.style.version, RegVersion::Four);
    EXPECT_EQ(document.sections[0].path, L"\x00DC");
    EXPECT_EQ(document.sections[0].entries[0].name, L"\x20AC");
    EXPECT_EQ(EntryText(document.sections[0].entries[0]), L"\x009D");
}

TEST(RegTextReader, EightBitFileMayHaveTheNewerHeader) {
    const RegDocument document = ReadBytes(EightBit("Windows Registry Editor Version 5.00\r\n"));
    EXPECT_EQ(document.style.encoding, RegEncoding::Windows1252);
    EXPECT_EQ(document.style.version, RegVersion::Five);
}

TEST(RegTextReader, WordBeforeTheFirstKeyIsAnError) {
    EXPECT_EQ(ErrorOf(L"\r\n@=\"a\"\r\n"), L":3:1: expected a key in brackets");
}

TEST(RegTextReader, WordBetweenEntriesIsAnError) {
    EXPECT_EQ(ErrorOf(L"\r\n[K]\r\n  word\r\n"),
              L":4:3: expected a key in brackets, @, a name in quotes, or a comment");
}

TEST(RegTextReader, HalfACharacterAtTheEndIsAnError) {
    Bytes bytes = File(L"\r\n[K]\r\n");
    bytes.push_back('x');
    EXPECT_EQ(ErrorOfBytes(bytes), L":4:1: expected the second byte of a character");
}

TEST(RegTextReader, ErrorNamesTheFile) {
    EXPECT_EQ(ErrorText(L"a.reg", {2, 3, L"more"}), L"a.reg:2:3: expected more");
}

// The shortest of three times for a file of `count` lines.
double SecondsFor(std::wstring_view line, std::size_t count) {
    std::wstring content = L"[K]\r\n";
    for (std::size_t i = 0; i < count; ++i) {
        content += line;
    }
    const Bytes bytes = File(content);
    double shortest = 1e9;
    for (int i = 0; i < 3; ++i) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_TRUE(std::holds_alternative<RegDocument>(ReadRegDocument(bytes)));
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        shortest = std::min(shortest, time.count());
    }
    return shortest;
}

// Each line makes a reader try a second reading, or look for an end that isn't there.
TEST(RegTextReader, TimeIsProportionalToTheSize) {
    constexpr std::size_t count = 2000;
    constexpr std::size_t times = 16;
    for (const std::wstring_view line : {L"@=\"\\\"\r\n", L"\"\\\"=\"\"\"\r\n", L"[K];;\r\n", L";\\\"\r\n"}) {
        EXPECT_LT(SecondsFor(line, times * count), 6 * times * SecondsFor(line, count));
    }
}

TEST(RegTextReader, LineBreakAloneInHexLinesMakesTheStyleRegedits) {
    const std::wstring pairs = L"00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,16,17";
    EXPECT_EQ(Read(L"\r\n[K]\r\n@=hex:" + pairs + L",\\\r\n  18\r\n").style.hexLines, RegHexLines::Regedit);
    EXPECT_EQ(Read(L"\r\n[K]\r\n@=hex:" + pairs + L",18\r\n").style.hexLines, RegHexLines::Keyreap);
}

TEST(RegTextReader, WithoutABrokenLineTheLastLineDecides) {
    EXPECT_EQ(Read(L"\r\n[K]\r\n@=hex:01\r\n").style.hexLines, RegHexLines::Keyreap);
    EXPECT_EQ(Read(L"\r\n[K]\r\n@=hex:01\r\n\r\n").style.hexLines, RegHexLines::Regedit);
}

} // namespace
} // namespace keyreap::testsupport
