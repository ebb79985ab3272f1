#include "extract/capturemode.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(ModeWord, EveryModeHasItsWord) {
    EXPECT_EQ(ModeWord(CaptureMode::keyRedir), L"keyRedir");
    EXPECT_EQ(ModeWord(CaptureMode::trace), L"trace");
    EXPECT_EQ(ModeWord(CaptureMode::both), L"both");
}

TEST(ModeWord, ValueThatIsNoModeHasNone) {
    EXPECT_EQ(ModeWord(static_cast<CaptureMode>(0)), L"");
    EXPECT_EQ(ModeWord(static_cast<CaptureMode>(4)), L"");
}

TEST(ParseModeWord, OnlyLettersAToZAreFolded) {
    EXPECT_EQ(ParseModeWord(L"tRaCe"), CaptureMode::trace);
    // U+212A, which other foldings take for a K.
    EXPECT_EQ(ParseModeWord(L"\x212A"
                            L"eyRedir"),
              CaptureMode::both);
}

TEST(ParseModeWord, PartOfAWordIsUnknown) {
    EXPECT_EQ(ParseModeWord(L"trac"), CaptureMode::both);
    EXPECT_EQ(ParseModeWord(L"tracer"), CaptureMode::both);
}

TEST(ChooseResultSource, KeyRedirIsHarvested) {
    EXPECT_EQ(ChooseResultSource(CaptureMode::keyRedir, false), ResultSource::harvest);
}

TEST(ChooseResultSource, TraceThatRanIsReplayed) {
    EXPECT_EQ(ChooseResultSource(CaptureMode::trace, false), ResultSource::replay);
    EXPECT_EQ(ChooseResultSource(CaptureMode::both, false), ResultSource::replay);
}

TEST(ChooseResultSource, TraceThatFailedLeavesTheHarvest) {
    EXPECT_EQ(ChooseResultSource(CaptureMode::trace, true), ResultSource::harvest);
    EXPECT_EQ(ChooseResultSource(CaptureMode::both, true), ResultSource::harvest);
}

} // namespace
} // namespace keyreap
