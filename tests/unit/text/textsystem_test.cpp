#include "platform/core/text/text.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr std::uint32_t systemCodePage = 0;
constexpr std::uint32_t utf8 = 65001;
constexpr std::uint32_t western = 1252;

TEST(WideToMultiByte, NoTextGivesNoBytes) {
    EXPECT_EQ(WideToMultiByte(std::wstring_view(), utf8), "");
    EXPECT_EQ(WideToMultiByte(L"", utf8), "");
}

TEST(WideToMultiByte, Utf8TakesSurrogatePairs) {
    EXPECT_EQ(WideToMultiByte(L"a\x00E9\x20AC\xD83D\xDE00", utf8), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(WideToMultiByte, CodePage1252HasOneByteACharacter) {
    EXPECT_EQ(WideToMultiByte(L"\x00E9\x20AC", western), "\xE9\x80");
}

TEST(WideToMultiByte, WhatTheCodePageLacksBecomesItsDefaultCharacter) {
    EXPECT_EQ(WideToMultiByte(L"a\x4E00z", western), "a?z");
}

TEST(WideToMultiByte, TheSystemsCodePageTakesPlainText) {
    EXPECT_EQ(WideToMultiByte(L"C:\\Keyreap.exe", systemCodePage), "C:\\Keyreap.exe");
}

TEST(WideToMultiByte, TheLengthCountsAndNotAZero) {
    EXPECT_EQ(WideToMultiByte(std::wstring_view(L"a\0bc", 3), utf8), std::string("a\0b", 3));
}

TEST(WideToMultiByte, AnUnknownCodePageGivesNoBytes) {
    EXPECT_EQ(WideToMultiByte(L"a", 64999), "");
}

} // namespace
} // namespace keyreap
