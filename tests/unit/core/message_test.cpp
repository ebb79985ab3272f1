#include "platform/core/message.h"
#include "platform/core/messageids.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::uint32_t unknownError = 0x2BADBEEF;

// The program of these tests has a string of each of these lengths, with this base plus its length as the
// identifier; the last character of each is "!".
constexpr std::uint32_t lengthBase = 30000;

class StringOfLength : public testing::TestWithParam<std::uint32_t> {};

TEST_P(StringOfLength, ComesBackWhole) {
    const std::uint32_t length = GetParam();
    EXPECT_EQ(LoadResourceString(lengthBase + length), std::wstring(length - 1, L'x') + L"!");
}

INSTANTIATE_TEST_SUITE_P(LoadResourceString, StringOfLength,
                         testing::Values(1, 254, 255, 256, 300, 509, 510, 511, 1019, 1020, 1021, 4000));

TEST(LoadResourceString, AnUnknownIdentifierGivesTheEmptyText) {
    EXPECT_EQ(LoadResourceString(lengthBase + 2), L"");
    EXPECT_EQ(LoadResourceString(64000), L"");
}

TEST(FormatMessageText, PutsTheInsertsInWithoutATrailingBlank) {
    EXPECT_EQ(FormatMessageText(L"open %1", {L"C:\\o\\x.reg"}), L"open C:\\o\\x.reg");
    EXPECT_EQ(FormatMessageText(L"%2 before %1", {L"one", L"two"}), L"two before one");
    EXPECT_EQ(FormatMessageText(L"plain"), L"plain");
}

TEST(FormatMessageText, TurnsLineEndsIntoBlanksAndDropsThoseAtTheEnd) {
    EXPECT_EQ(FormatMessageText(L"one\r\ntwo\r\n"), L"one two");
    EXPECT_EQ(FormatMessageText(L"one  \r\n"), L"one");
}

TEST(FormatMessageText, AnInsertMayHoldAnything) {
    EXPECT_EQ(FormatMessageText(L"<%1>", {L"%1 %2 100%"}), L"<%1 %2 100%>");
    EXPECT_EQ(FormatMessageText(L"<%1>", {std::wstring(2000, L'\x4E00')}),
              L"<" + std::wstring(2000, L'\x4E00') + L">");
    EXPECT_EQ(FormatMessageText(L"<%1>", {L""}), L"<>");
}

TEST(FormatMessageText, AnInsertThatIsNotGivenIsEmpty) {
    EXPECT_EQ(FormatMessageText(L"<%1><%2><%99>", {L"one"}), L"<one><><>");
    EXPECT_EQ(FormatMessageText(L"<%1>"), L"<>");
}

TEST(FormatMessageText, TakesEveryInsertOfTheSyntax) {
    std::vector<std::wstring> inserts;
    for (int number = 1; number <= 99; ++number) {
        inserts.push_back(L"i" + std::to_wstring(number));
    }
    EXPECT_EQ(FormatMessageText(L"%1 %9 %10 %42 %99", inserts), L"i1 i9 i10 i42 i99");
    inserts.emplace_back(L"one too many");
    EXPECT_EQ(FormatMessageText(L"%99", inserts), L"i99");
}

TEST(FormatMessageText, AnEmptyFormatEndsInTheFixedText) {
    SetLastError(0xABC);
    const std::wstring text = FormatMessageText(L"");
    EXPECT_THAT(text, testing::StartsWith(L"Format message error [win32 error 0x"));
    EXPECT_THAT(text, testing::EndsWith(L"] while composing the message []."));
}

TEST(FormatMessageText, AFailureNamesTheSystemsErrorInHexadecimalAndTheFormat) {
    constexpr wchar_t broken[] = L"100 %";
    wchar_t* unused = nullptr;
    SetLastError(0);
    ASSERT_EQ(FormatMessageW(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ALLOCATE_BUFFER |
                                 FORMAT_MESSAGE_MAX_WIDTH_MASK,
                             broken, 0, 0, reinterpret_cast<wchar_t*>(&unused), 0, nullptr),
              0U);
    wchar_t digits[9] = {};
    _snwprintf(digits, 8, L"%lx", GetLastError());
    EXPECT_EQ(FormatMessageText(broken), std::wstring(L"Format message error [win32 error 0x") + digits +
                                             L"] while composing the message [100 %].");
}

TEST(FormatResourceString, FormatsTheProgramsString) {
    EXPECT_EQ(FormatResourceString(lengthBase + 300), std::wstring(299, L'x') + L"!");
}

TEST(FormatResourceString, AMissingStringEndsInTheFixedText) {
    EXPECT_THAT(FormatResourceString(64000, {L"path"}),
                testing::EndsWith(L"] while composing the message []."));
}

TEST(GetSystemErrorText, IsTheSystemsTextAsItComes) {
    wchar_t* text = nullptr;
    ASSERT_NE(FormatMessageW(0x13FF, nullptr, ERROR_ACCESS_DENIED, 0, reinterpret_cast<wchar_t*>(&text), 0,
                             nullptr),
              0U);
    EXPECT_EQ(GetSystemErrorText(ERROR_ACCESS_DENIED), text);
    LocalFree(text);
}

TEST(GetSystemErrorText, KeepsTheBlankAtTheEnd) {
    EXPECT_THAT(GetSystemErrorText(ERROR_FILE_NOT_FOUND), testing::EndsWith(L" "));
    EXPECT_THAT(GetSystemErrorText(ERROR_FILE_NOT_FOUND), Not(HasSubstr(L"\n")));
}

TEST(GetSystemErrorText, TakesAnHresult) {
    EXPECT_THAT(GetSystemErrorText(static_cast<std::uint32_t>(E_OUTOFMEMORY)),
                Not(HasSubstr(L"Failed to get")));
}

TEST(GetSystemErrorText, AnUnknownCodeGivesTheFixedText) {
    EXPECT_EQ(GetSystemErrorText(unknownError),
              L"Failed to get Windows error message [win32 error 0x2badbeef].");
}

TEST(ProgramMessages, EachIsPlainTextOfOneLine) {
    for (const std::uint32_t id : {messageid::unhandledFailure, messageid::conversionFailed,
                                   messageid::fileNotOpen, messageid::writeFailed}) {
        const std::wstring text = LoadResourceString(id);
        EXPECT_FALSE(text.empty()) << id;
        EXPECT_THAT(text, testing::EndsWith(L".")) << id;
        EXPECT_THAT(text, Not(HasSubstr(L"\n"))) << id;
    }
}

TEST(ProgramMessages, TheWritersMessagesNameTheFile) {
    for (const std::uint32_t id : {messageid::fileNotOpen, messageid::writeFailed}) {
        EXPECT_THAT(FormatResourceString(id, {L"C:\\o\\x.reg"}), HasSubstr(L"\"C:\\o\\x.reg\"")) << id;
    }
}

TEST(ProgramMessages, TheOthersTakeNoInsert) {
    for (const std::uint32_t id : {messageid::unhandledFailure, messageid::conversionFailed}) {
        EXPECT_EQ(FormatResourceString(id), LoadResourceString(id)) << id;
        EXPECT_THAT(LoadResourceString(id), Not(HasSubstr(L"%"))) << id;
    }
}

} // namespace
} // namespace keyreap
