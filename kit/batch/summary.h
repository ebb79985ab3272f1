#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace keyreap {

enum class CaptureResult { Captured, Unchanged, Failed, TimedOut };

// A server of a run of captures, and what became of it.
struct CaptureOutcome {
    std::string server;
    std::string capture;
    CaptureResult result = CaptureResult::Failed;
    std::optional<int> status; // that of keyreap; none if it didn't run or was ended
    double seconds = 0;
    std::vector<std::string> sentences; // why it failed, or what is strange in the capture
};

// How many servers had a result.
std::size_t CountOf(std::span<const CaptureOutcome> outcomes, CaptureResult result);

struct BatchRun {
    std::string mode;
    std::string version; // of the program that captured, and of its host
    std::size_t jobs = 1;
    double seconds = 0;
    std::vector<CaptureOutcome> outcomes;
};

// The text of docs/capture.schema.json.
std::string SummaryJson(const BatchRun& run);

} // namespace keyreap
