#include "tests/unit/regmodel/regdocuments.h"

namespace keyreap::testsupport {
namespace {

std::wstring Rewritten(std::wstring_view content) {
    return Written(Read(content)).substr(headerLine.size());
}

TEST(RegTextWriter, EmptyLineIsBeforeEachKey) {
    EXPECT_EQ(Rewritten(L"[A]\r\n@=\"x\"\r\n\r\n\"b\"=\"y\"\r\n[B]\r\n"),
              L"\r\n[A]\r\n@=\"x\"\r\n\"b\"=\"y\"\r\n\r\n[B]\r\n");
}

TEST(RegTextWriter, BlanksCommentsAndUpperCaseDigitsAreNotWritten) {
    EXPECT_EQ(Rewritten(L"; c\r\n[A] ; c\r\n  \"a\" = DWORD:A ; c\r\n@=hex(2):A,\\\r\n B\r\n"),
              L"\r\n[A]\r\n\"a\"=dword:0000000a\r\n@=hex(2):0a,0b\r\n");
}

TEST(RegTextWriter, EveryFormIsWrittenAsItWasRead) {
    ExpectSame(
        L"\r\n[K]\r\n@=\"C:\\\\a \\\"b\\\"\"\r\n\"C:\\\\\"=\"line\r\nbreak\"\r\n\"n\"=dword:0000abcd\r\n"
        L"\"1\"=hex(1):61,00\r\n\"4\"=hex(4):01\r\n\"0\"=hex(0):\r\n\"b\"=hex(b):01,02\r\n\"d\"=-\r\n");
}

TEST(RegTextWriter, DeletedKeysAreWritten) {
    ExpectSame(L"\r\n[-K\\L]\r\n\r\n[--K]\r\n");
}

TEST(RegTextWriter, DamagedEntriesStayDamaged) {
    ExpectSame(L"\r\n[K]\r\n\"\\\"=\"\\foo\"\r\n\"\"foo\"=\"\"\"\r\n\"none\"=\r\n\"e\"=hex(7):,00,00\r\n");
}

TEST(RegTextWriter, OtherTextsAreWrittenInTheirPieces) {
    ExpectSame(HarvestWith(L"\"\\\"=hex(b):C:,\\x\r\n@=hex(b):\r\n\"l\"=hex(b):a\r,\nb,\r\n\r\n"));
}

TEST(RegTextWriter, EmptyLastLineIsKept) {
    ExpectSame(L"\r\n[K]\r\n\r\n");
    EXPECT_EQ(Rewritten(L"\r\n[K]\r\n\r\n \t\r\n"), L"\r\n[K]\r\n\r\n");
}

TEST(RegTextWriter, LongBytesAreBrokenAsTheirProducerDoes) {
    ExpectSame(L"\r\n[K]\r\n\"AVeryLongNameOfThisValue\"=hex:"
               L"03,0a,11,18,1f,26,2d,34,3b,42,49,50,57,5e,65,6c,73,7a,81,88,8f,96,9d,a4,ab,\\\r\n  b2\r\n");
    ExpectSame(
        L"\r\n[K]\r\n\"EventMessageFile\"=hex(2):25,00,53,00,79,00,73,00,74,00,65,00,6d,00,52,00,6f,\\\r\n"
        L"  00,6f,00,74,00,25,00,5c,00,53,00,79,00,73,00,74,00,65,00,6d,00,33,00,32,00,\\\r\n"
        L"  5c,00,49,00,6f,00,4c,00,6f,00,67,00,4d,00,73,00,67,00,2e,00,64,00,6c,00,6c,\\\r\n"
        L"  00,00,00\r\n\"TypesSupported\"=dword:00000007\r\n\r\n");
}

TEST(RegTextWriter, REGEDIT4IsWrittenInItsBytes) {
    const Bytes bytes = EightBit("REGEDIT4\r\n\r\n[\xDC]\r\n\"\x80\"=\"\x9D\"\r\n@=hex(2):61,80,00\r\n\r\n");
    EXPECT_EQ(WriteRegDocument(ReadBytes(bytes)), bytes);
}

TEST(RegTextWriter, LineFeedsAreKept) {
    const Bytes bytes = EightBit("REGEDIT4\n\n[K]\n@=\"x\"\n");
    EXPECT_EQ(WriteRegDocument(ReadBytes(bytes)), bytes);
}

TEST(RegTextWriter, CharacterWithoutAByteGivesNoFile) {
    RegDocument document = ReadBytes(EightBit("REGEDIT4\r\n\r\n[K]\r\n@=hex(2):61,00\r\n"));
    document.sections[0].entries[0].data[1] = 2;
    EXPECT_EQ(WriteRegDocument(document), std::nullopt);
    document.sections[0].entries.clear();
    document.sections[0].path = L"\x0101";
    EXPECT_EQ(WriteRegDocument(document), std::nullopt);
}

} // namespace
} // namespace keyreap::testsupport
