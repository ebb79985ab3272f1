#include "kit/batch/summary.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

namespace keyreap {

namespace {

using Json = nlohmann::ordered_json;

constexpr int formatNumber = 1;

const char* NameOf(CaptureResult result) {
    switch (result) {
    case CaptureResult::Captured:
        return "captured";
    case CaptureResult::Unchanged:
        return "unchanged";
    case CaptureResult::TimedOut:
        return "timed out";
    default:
        return "failed";
    }
}

double Milliseconds(double seconds) {
    constexpr double thousand = 1000;
    return std::round(seconds * thousand) / thousand;
}

Json JsonOf(const CaptureOutcome& outcome) {
    Json json = {{"server", outcome.server},
                 {"capture", outcome.capture},
                 {"result", NameOf(outcome.result)},
                 {"seconds", Milliseconds(outcome.seconds)},
                 {"sentences", outcome.sentences}};
    if (outcome.status) {
        json["status"] = *outcome.status;
    }
    return json;
}

} // namespace

std::size_t CountOf(std::span<const CaptureOutcome> outcomes, CaptureResult result) {
    return static_cast<std::size_t>(std::ranges::count(outcomes, result, &CaptureOutcome::result));
}

std::string SummaryJson(const BatchRun& run) {
    Json json = {{"format", formatNumber},
                 {"mode", run.mode},
                 {"version", run.version},
                 {"jobs", run.jobs},
                 {"seconds", Milliseconds(run.seconds)},
                 {"captured", CountOf(run.outcomes, CaptureResult::Captured)},
                 {"unchanged", CountOf(run.outcomes, CaptureResult::Unchanged)},
                 {"failed", CountOf(run.outcomes, CaptureResult::Failed) +
                                CountOf(run.outcomes, CaptureResult::TimedOut)},
                 {"servers", Json::array()}};
    for (const CaptureOutcome& outcome : run.outcomes) {
        json["servers"].push_back(JsonOf(outcome));
    }
    // Names of files may be any bytes.
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace keyreap
