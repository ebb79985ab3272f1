#pragma once

#include "extract/nativefileregister/capturemode.h"
#include "kit/explain/explainedstory.h"

#include <cstdint>
#include <optional>
#include <string>

namespace keyreap {

struct ExplainRequest {
    std::wstring server;
    CaptureMode mode = CaptureMode::both;
    std::uint32_t ceiling = 0; // of the trace's log, in megabytes; 0 for the program's own
    bool isFromTrace = false;  // the story is that of the trace, also where there is a request log
};

struct ExplainedCapture {
    ExplainedStory explained;
    // When the capture was done, and the search for reasons began.
    double clockSeconds = 0;
    double processorSeconds = 0;
};

// By the clock, from any time on.
double ClockSeconds();
// What this thread has used of the processor.
double ProcessorSeconds();

// Captures the server as the program does, and finds the verdicts before the session ends. A sentence if
// there is no result to explain. Windows only.
std::optional<ExplainedCapture> CaptureAndExplain(const ExplainRequest& request, std::wstring& failure);

} // namespace keyreap
