#pragma once

#include "tests/support/tracebuilder.h"
#include "tests/support/untabledcall.h"
#include "trace/eventtracing.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace keyreap {

// An EventTracing that answers by a script, plays a synthetic log, and records the calls. It calls callbacks
// from code that no exception can pass, as the system's may be.
class ScriptedTracing : public EventTracing {
public:
    // The script.
    ULONG startStatus = ERROR_SUCCESS;
    ULONG controlStatus = ERROR_SUCCESS;
    ULONG processStatus = ERROR_SUCCESS;
    TRACEHANDLE session = 0x51;                                     // what Start returns
    TRACEHANDLE failedOpen = INVALID_PROCESSTRACE_HANDLE;           // what a failing Open returns
    bool logExists = true;                                          // whether Open succeeds
    std::vector<TraceBuilder::Event> log = TraceBuilder().Events(); // what Process plays
    std::size_t eventsInBuffer = 100;                               // events between two buffer callbacks

    // The record: each call with its arguments, such as "control 81 NT Kernel Logger 1".
    std::vector<std::wstring> calls;
    std::vector<std::byte> startProperties; // as Start saw them
    std::wstring openedPath;
    ULONG openedMode = 0;          // ProcessTraceMode given to Open
    std::size_t playedBuffers = 0; // buffers after which the consumer was asked

    ULONG Start(TRACEHANDLE& handle, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties) override;
    ULONG Control(TRACEHANDLE handle, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties,
                  ULONG controlCode) override;
    TRACEHANDLE Open(EVENT_TRACE_LOGFILEW& logFile) override;
    ULONG Process(TRACEHANDLE handle) override;
    ULONG Close(TRACEHANDLE handle) override;

private:
    testsupport::UntabledCall call;
    std::map<TRACEHANDLE, EVENT_TRACE_LOGFILEW> open;
    TRACEHANDLE nextLog = 0x91;
};

} // namespace keyreap
