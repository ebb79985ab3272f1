#include "extract/modeword.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(ModeWord, EveryModeHasItsWord) {
    EXPECT_EQ(ModeWord(CaptureMode::keyRedir), L"keyRedir");
    EXPECT_EQ(ModeWord(CaptureMode::trace), L"trace");
    EXPECT_EQ(ModeWord(CaptureMode::both), L"both");
}

TEST(ModeWord, InvalidModeHasNoWord) {
    EXPECT_EQ(ModeWord(static_cast<CaptureMode>(0)), L"");
    EXPECT_EQ(ModeWord(static_cast<CaptureMode>(4)), L"");
}

TEST(ParseModeWord, OnlyLettersAToZAreFolded) {
    EXPECT_EQ(ParseModeWord(L"tRaCe"), CaptureMode::trace);
    // U+212A, which other foldings treat as a K.
    EXPECT_EQ(ParseModeWord(L"\x212A"
                            L"eyRedir"),
              CaptureMode::both);
}

TEST(ParseModeWord, PartOfAWordIsUnknown) {
    EXPECT_EQ(ParseModeWord(L"trac"), CaptureMode::both);
    EXPECT_EQ(ParseModeWord(L"tracer"), CaptureMode::both);
}

} // namespace
} // namespace keyreap
