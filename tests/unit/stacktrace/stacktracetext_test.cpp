#include "platform/core/stacktrace/stacktracetext.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(StackTraceHeader, NamesTheBitnessOfTheBuild) {
    EXPECT_EQ(StackTraceHeader, sizeof(void*) == 8 ? L"\r\n*** Stack Trace (x64) ***\r\n\r\n"
                                                   : L"\r\n*** Stack Trace (x86) ***\r\n\r\n");
}

TEST(MoreFramesLine, IsOneLine) {
    EXPECT_EQ(moreFramesLine, L"<--------------------MORE--FRAMES-------------------->\r\n");
}

TEST(AddressText, HasSixteenDigitsForTheSmallestAndTheLargest) {
    EXPECT_EQ(AddressText(0), L"[0x0000000000000000]");
    EXPECT_EQ(AddressText(0xFEDCBA9876543210), L"[0xfedcba9876543210]");
}

TEST(ExceptionCodeText, HasEightDigits) {
    EXPECT_EQ(ExceptionCodeText(0xC0000005), L"(0xc0000005)");
    EXPECT_EQ(ExceptionCodeText(0x10), L"(0x00000010)");
}

TEST(FunctionText, IsDashesWithoutASymbol) {
    EXPECT_EQ(FunctionText(std::nullopt), L"-----");
}

TEST(FunctionText, ASymbolWithAnEmptyNameIsASymbolAllTheSame) {
    EXPECT_EQ(FunctionText(""), L"()");
}

TEST(FunctionText, PutsParenthesesAfterTheName) {
    EXPECT_EQ(FunctionText("DllRegisterServer"), L"DllRegisterServer()");
}

TEST(FunctionText, CutsTheNameAt2000Characters) {
    EXPECT_EQ(FunctionText(std::string(2000, 'a')), std::wstring(2000, L'a') + L"()");
    EXPECT_EQ(FunctionText(std::string(2001, 'a')), std::wstring(2000, L'a') + L"()");
}

TEST(FunctionText, TakesBytesAboveAsciiAsTheyAre) {
    EXPECT_EQ(FunctionText("\xE9"), L"\u00E9()");
}

TEST(LineText, KeepsWhatFollowsTheLastBackslash) {
    EXPECT_EQ(LineText("C:\\src\\server\\main.cpp", 12), L"main.cpp:12");
    EXPECT_EQ(LineText("main.cpp", 12), L"main.cpp:12");
    EXPECT_EQ(LineText("C:\\src\\", 12), L":12");
}

TEST(LineText, ASlashIsNoBackslash) {
    EXPECT_EQ(LineText("src/main.cpp", 12), L"src/main.cpp:12");
}

TEST(LineText, IsCutAt260Characters) {
    EXPECT_EQ(LineText(std::string(300, 'a'), 12), std::wstring(260, L'a'));
    EXPECT_EQ(LineText(std::string(258, 'a'), 12), std::wstring(258, L'a') + L":1");
}

TEST(FrameText, WithALineHasAnArrow) {
    EXPECT_EQ(FrameText(0x401000, L"main()", L"main.cpp:12"),
              L"[0x0000000000401000]  main() -> main.cpp:12\r\n");
}

TEST(FrameText, WithoutALineHasNoArrow) {
    EXPECT_EQ(FrameText(0x401000, L"-----", L""), L"[0x0000000000401000]  -----\r\n");
}

TEST(ClosingLine, NamesTheBaseOfTheMainModule) {
    EXPECT_EQ(ClosingLine(0x140000000), L"[0x0000000140000000]  MODULE_BASE_ADDRESS\r\n");
}

TEST(HoldsStackTrace, LooksForTheHeader) {
    EXPECT_TRUE(HoldsStackTrace(L"text" + std::wstring(StackTraceHeader) + L"frames"));
    EXPECT_FALSE(HoldsStackTrace(L"*** Stack Trace ***"));
    EXPECT_FALSE(HoldsStackTrace(L""));
}

TEST(HoldsStackTrace, DoesNotKnowTheHeaderOfTheOtherBitness) {
    EXPECT_FALSE(HoldsStackTrace(sizeof(void*) == 8 ? L"\r\n*** Stack Trace (x86) ***\r\n\r\n"
                                                    : L"\r\n*** Stack Trace (x64) ***\r\n\r\n"));
}

TEST(TextBeforeStackTrace, EndsAtTheHeader) {
    EXPECT_EQ(TextBeforeStackTrace(L"text" + std::wstring(StackTraceHeader) + L"frames"), L"text");
}

TEST(TextBeforeStackTrace, IsAllOfATextWithoutATrace) {
    EXPECT_EQ(TextBeforeStackTrace(L"text\r\nmore"), L"text\r\nmore");
}

TEST(InsertBanner, GoesDirectlyInFrontOfTheHeader) {
    const std::wstring trace = std::wstring(StackTraceHeader) + L"frames";
    EXPECT_EQ(InsertBanner(L"text" + trace, L"Banner 1.0"), L"text\r\nBanner 1.0" + trace);
}

TEST(InsertBanner, LeavesATextWithoutATraceAsItIs) {
    EXPECT_EQ(InsertBanner(L"text", L"Banner 1.0"), L"text");
    EXPECT_EQ(InsertBanner(L"", L"Banner 1.0"), L"");
}

TEST(InsertBanner, AnEmptyBannerAddsNoLine) {
    const std::wstring text = L"text" + std::wstring(StackTraceHeader);
    EXPECT_EQ(InsertBanner(text, L""), text);
}

} // namespace
} // namespace keyreap
