#include "tests/unit/regmodel/regdocuments.h"

namespace keyreap::testsupport {
namespace {

TEST(RegEntry, TextEndsAtItsFirstNul) {
    EXPECT_EQ(EntryText(EntryOf(L"@=hex(2):61,00,00,00,62,00,00,00\r\n")), L"a");
    EXPECT_EQ(EntryText(EntryOf(L"@=hex(1):61,00\r\n")), L"a");
}

TEST(RegEntry, OnlyTextsHaveAText) {
    EXPECT_EQ(EntryText(EntryOf(L"@=hex:61,00\r\n")), std::nullopt);
    EXPECT_EQ(EntryText(EntryOf(L"@=-\r\n")), std::nullopt);
    EXPECT_EQ(EntryText(EntryOf(L"@=hex(7):61,00,00,00\r\n")), std::nullopt);
}

TEST(RegEntry, NumberIsThatOfFourBytes) {
    EXPECT_EQ(EntryNumber(EntryOf(L"@=dword:12345678\r\n")), 0x12345678u);
    EXPECT_EQ(EntryNumber(EntryOf(L"@=hex(4):78,56,34,12\r\n")), 0x12345678u);
    EXPECT_EQ(EntryNumber(EntryOf(L"@=hex(4):78,56,34\r\n")), std::nullopt);
    EXPECT_EQ(EntryNumber(EntryOf(L"@=hex:78,56,34,12\r\n")), std::nullopt);
}

TEST(RegEntry, DamagedEntrySaysWhatWasExpected) {
    EXPECT_EQ(ExpectedInstead(EntryOf(L"@=\r\n")), L"a value after the equals sign");
    EXPECT_EQ(ExpectedInstead(EntryOf(L"@=hex(2):,00,00\r\n")), L"no comma after the colon");
    EXPECT_EQ(ExpectedInstead(EntryOf(L"@=\"\\\"\r\n")), L"a backslash before the text's first character");
    EXPECT_EQ(ExpectedInstead(EntryOf(L"\"\\\"=\"x\"\r\n")),
              L"a backslash before the name's first character");
    EXPECT_EQ(ExpectedInstead(EntryOf(L"\"\\\"=\r\n")),
              L"a backslash before the name's first character, and a value after the equals sign");
    EXPECT_EQ(ExpectedInstead(EntryOf(L"@=\"x\"\r\n")), L"");
}

TEST(RegEntry, FillerIsTheTextOfTenMarks) {
    const std::wstring marks(10, static_cast<wchar_t>(0x5555));
    EXPECT_TRUE(IsFiller(EntryOf(L"@=\"" + marks + L"\"\r\n")));
    EXPECT_FALSE(IsFiller(EntryOf(L"@=\"" + marks.substr(1) + L"\"\r\n")));
    EXPECT_FALSE(IsFiller(EntryOf(L"@=\"" + marks + L"x\"\r\n")));
}

TEST(RegEntry, LinesAreNotCompared) {
    EXPECT_EQ(EntryOf(L"@=\"x\"\r\n"), EntryOf(L"\r\n\r\n@=\"x\"\r\n"));
    EXPECT_FALSE(EntryOf(L"@=\"x\"\r\n") == EntryOf(L"@=\"y\"\r\n"));
}

} // namespace
} // namespace keyreap::testsupport
