#include "regmodel/hexlines.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using Lines = std::vector<std::size_t>;

TEST(HexLines, OpeningHasTheTypeInLowerCase) {
    EXPECT_EQ(HexOpening(RegForm::Bytes, 3), L"hex:");
    EXPECT_EQ(HexOpening(RegForm::TypedBytes, 11), L"hex(b):");
    EXPECT_EQ(HexOpening(RegForm::TypedBytes, 0), L"hex(0):");
}

TEST(HexLines, KeyreapBreaksAfterTwentyFivePairsWhateverTheName) {
    EXPECT_EQ(PairsOfLines(RegHexLines::Keyreap, 3, 6, 25), Lines({25}));
    EXPECT_EQ(PairsOfLines(RegHexLines::Keyreap, 3, 60, 26), Lines({25, 1}));
    EXPECT_EQ(PairsOfLines(RegHexLines::Keyreap, 11, 6, 51), Lines({25, 25, 1}));
}

TEST(HexLines, KeyreapNeverBreaksTextsAndLists) {
    EXPECT_EQ(PairsOfLines(RegHexLines::Keyreap, 2, 6, 500), Lines({500}));
    EXPECT_EQ(PairsOfLines(RegHexLines::Keyreap, 7, 6, 500), Lines({500}));
}

TEST(HexLines, NoBytesAreOneLine) {
    EXPECT_EQ(PairsOfLines(RegHexLines::Keyreap, 3, 6, 0), Lines({0}));
    EXPECT_EQ(PairsOfLines(RegHexLines::Keyreap, 2, 6, 0), Lines({0}));
    EXPECT_EQ(PairsOfLines(RegHexLines::Regedit, 3, 6, 0), Lines({0}));
}

// "ImagePath"=hex(2): has 19 units, and regedit's line of it 80 with the backslash.
TEST(HexLines, RegeditBreaksAfterThePairThatReachesColumn77) {
    EXPECT_EQ(PairsOfLines(RegHexLines::Regedit, 2, 19, 20), Lines({20}));
    EXPECT_EQ(PairsOfLines(RegHexLines::Regedit, 2, 19, 21), Lines({20, 1}));
    EXPECT_EQ(PairsOfLines(RegHexLines::Regedit, 2, 20, 21), Lines({19, 2}));
    EXPECT_EQ(PairsOfLines(RegHexLines::Regedit, 2, 9, 100), Lines({23, 25, 25, 25, 2}));
}

TEST(HexLines, RegeditPutsAPairAfterALongName) {
    EXPECT_EQ(PairsOfLines(RegHexLines::Regedit, 3, 76, 3), Lines({1, 2}));
    EXPECT_EQ(PairsOfLines(RegHexLines::Regedit, 3, 300, 3), Lines({1, 2}));
}

} // namespace
} // namespace keyreap
