#include "kit/batch/progressline.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(ProgressLineTest, TheFirstLineKnowsNoRate) {
    EXPECT_EQ(ProgressLine({40, 0, 0, 0.5}, 80), "[..............................] 0 of 40, 0 failed");
}

TEST(ProgressLineTest, TheLineHasTheCountsTheRateAndTheTimeLeft) {
    EXPECT_EQ(ProgressLine({40, 10, 1, 4}, 80),
              "[#######.......................] 10 of 40, 1 failed, 2.5 a second, 12 s left");
    EXPECT_EQ(ProgressLine({400, 10, 0, 4}, 100),
              "[..............................] 10 of 400, 0 failed, 2.5 a second, 2 min 36 s left");
}

TEST(ProgressLineTest, TheBarIsFullAtTheEnd) {
    EXPECT_EQ(ProgressLine({4, 4, 0, 4}, 80),
              "[##############################] 4 of 4, 0 failed, 1.0 a second, 0 s left");
}

TEST(ProgressLineTest, TheLineFitsIntoTheColumns) {
    for (std::size_t columns = 0; columns < 100; ++columns) {
        EXPECT_LE(ProgressLine({40, 10, 1, 4}, columns).size(), columns);
    }
    EXPECT_EQ(ProgressLine({40, 10, 1, 4}, 52), "[#....] 10 of 40, 1 failed, 2.5 a second, 12 s left");
    EXPECT_EQ(ProgressLine({40, 10, 1, 4}, 10), "10 of 40, ");
}

} // namespace
} // namespace keyreap
