#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace keyreap {

// What captures one server, in a process of its own; returns the exit status of that.
using CaptureJob = std::function<int()>;

struct CaptureJobResult {
    std::optional<int> status; // none if it was ended
    bool hasTimedOut = false;
    double seconds = 0;
    std::string text; // from its standard error
};

struct CaptureJobRules {
    std::size_t atOnce = 1;
    std::size_t timeout = 0; // seconds; 0 for none
};

// What the caller does about its jobs, each named by its place in the order.
struct CaptureJobSinks {
    // The job at this place, before it begins.
    std::function<CaptureJob(std::size_t place)> begin;
    std::function<void(std::size_t place, const CaptureJobResult& result)> end;
    // Several times a second.
    std::function<void()> tick;
};

// Runs `count` jobs, and returns when nothing of them runs any more. A signal that would end this program
// ends the jobs first. Returns false, without a call of `end` for the jobs that it ended, if there was one;
// then `EndBySignal` is to be called. Throws std::system_error.
bool RunCaptureJobs(std::size_t count, const CaptureJobRules& rules, const CaptureJobSinks& sinks);

// Ends this program by the signal that ended its jobs.
[[noreturn]] void EndBySignal();

} // namespace keyreap
