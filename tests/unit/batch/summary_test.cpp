#include "kit/batch/summary.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(SummaryTest, TheCountsAreThoseOfTheServers) {
    BatchRun run = {"both", "v", 2, 1.23456, {}};
    run.outcomes = {{"a.dll", "a.reg", CaptureResult::Captured, 0, 0.5, {"a.dll: a.reg is empty"}},
                    {"b.dll", "b.reg", CaptureResult::Failed, 255, 0.25, {"b.dll: no"}},
                    {"c.dll", "c.reg", CaptureResult::TimedOut, std::nullopt, 2, {"c.dll: late"}},
                    {"d.dll", "d.reg", CaptureResult::Unchanged, std::nullopt, 0, {}}};
    EXPECT_EQ(SummaryJson(run), R"json({
  "format": 1,
  "mode": "both",
  "version": "v",
  "jobs": 2,
  "seconds": 1.235,
  "captured": 1,
  "unchanged": 1,
  "failed": 2,
  "servers": [
    {
      "server": "a.dll",
      "capture": "a.reg",
      "result": "captured",
      "seconds": 0.5,
      "sentences": [
        "a.dll: a.reg is empty"
      ],
      "status": 0
    },
    {
      "server": "b.dll",
      "capture": "b.reg",
      "result": "failed",
      "seconds": 0.25,
      "sentences": [
        "b.dll: no"
      ],
      "status": 255
    },
    {
      "server": "c.dll",
      "capture": "c.reg",
      "result": "timed out",
      "seconds": 2.0,
      "sentences": [
        "c.dll: late"
      ]
    },
    {
      "server": "d.dll",
      "capture": "d.reg",
      "result": "unchanged",
      "seconds": 0.0,
      "sentences": []
    }
  ]
}
)json");
}

} // namespace
} // namespace keyreap
