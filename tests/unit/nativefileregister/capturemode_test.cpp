#include "extract/nativefileregister/capturemode.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(ReplaysTrace, KeyRedirIsHarvested) {
    EXPECT_FALSE(ReplaysTrace(CaptureMode::keyRedir, false));
}

TEST(ReplaysTrace, TraceThatRanIsReplayed) {
    EXPECT_TRUE(ReplaysTrace(CaptureMode::trace, false));
    EXPECT_TRUE(ReplaysTrace(CaptureMode::both, false));
}

TEST(ReplaysTrace, TraceThatFailedLeavesTheHarvest) {
    EXPECT_FALSE(ReplaysTrace(CaptureMode::trace, true));
    EXPECT_FALSE(ReplaysTrace(CaptureMode::both, true));
}

} // namespace
} // namespace keyreap
