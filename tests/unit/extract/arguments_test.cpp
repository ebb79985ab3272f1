#include "extract/arguments.h"

#include <gtest/gtest.h>

#include <vector>

namespace keyreap {
namespace {

using Words = std::vector<const wchar_t*>;

TEST(ParsePairs, NoneOrOneWordMakesNoPair) {
    EXPECT_TRUE(ParsePairs(Words{}).empty());
    EXPECT_TRUE(ParsePairs(Words{L"both"}).empty());
}

TEST(ParsePairs, WordsArePairedInTheirOrder) {
    const std::vector<FilePair> pairs = ParsePairs(Words{L"a.dll", L"a.reg", L"b.dll", L"b.reg"});
    ASSERT_EQ(pairs.size(), 2U);
    EXPECT_EQ(pairs[0].sourceFile.Text(), L"a.dll");
    EXPECT_EQ(pairs[0].regFile.Text(), L"a.reg");
    EXPECT_EQ(pairs[1].sourceFile.Text(), L"b.dll");
    EXPECT_EQ(pairs[1].regFile.Text(), L"b.reg");
}

TEST(ParsePairs, OddLastWordIsDropped) {
    EXPECT_EQ(ParsePairs(Words{L"a.dll", L"a.reg", L"b.dll"}).size(), 1U);
}

TEST(ParsePairs, PathsAreNormalised) {
    EXPECT_EQ(ParsePairs(Words{L"\\\\?\\C:\\a\\", L"\\b"})[0].sourceFile.Text(), L"C:\\a");
}

TEST(ParseMode, EvenNumberOfWordsMeansBoth) {
    EXPECT_EQ(ParseMode(Words{}), CaptureMode::both);
    EXPECT_EQ(ParseMode(Words{L"keyRedir", L"trace"}), CaptureMode::both);
}

TEST(ParseMode, OddLastWordIsTheModeWord) {
    EXPECT_EQ(ParseMode(Words{L"a", L"b", L"keyRedir"}), CaptureMode::keyRedir);
    EXPECT_EQ(ParseMode(Words{L"a", L"b", L"trace"}), CaptureMode::trace);
    EXPECT_EQ(ParseMode(Words{L"a", L"b", L"both"}), CaptureMode::both);
    EXPECT_EQ(ParseMode(Words{L"trace"}), CaptureMode::trace);
}

TEST(ParseMode, CaseOfTheModeWordDoesNotCount) {
    EXPECT_EQ(ParseMode(Words{L"a", L"b", L"TRACE"}), CaptureMode::trace);
    EXPECT_EQ(ParseMode(Words{L"a", L"b", L"KEYREDIR"}), CaptureMode::keyRedir);
}

TEST(ParseMode, UnknownWordSilentlyMeansBoth) {
    EXPECT_EQ(ParseMode(Words{L"a", L"b", L"garbage"}), CaptureMode::both);
    EXPECT_EQ(ParseMode(Words{L"a", L"b", L""}), CaptureMode::both);
    EXPECT_EQ(ParseMode(Words{L"a", L"b", L"b.dll"}), CaptureMode::both);
}

} // namespace
} // namespace keyreap
