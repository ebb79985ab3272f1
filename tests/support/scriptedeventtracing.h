#pragma once

#include "tests/support/tracebuilder.h"
#include "trace/eventtracing.h"

#include <string>
#include <vector>

namespace keyreap {

// An event source that does what a test says: it gives the statuses set here, plays a synthetic log through
// the callbacks that the reader gave, as the system's consumer does, and writes down each call.
class ScriptedEventTracing : public EventTracing {
public:
    static constexpr TRACEHANDLE sessionHandle = 0x5E55;
    static constexpr TRACEHANDLE logHandle = 0x106;

    explicit ScriptedEventTracing(TraceBuilder events = TraceBuilder()) : log(std::move(events)) {}

    ULONG Start(TRACEHANDLE& session, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties) override;
    ULONG Control(TRACEHANDLE session, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties,
                  ULONG controlCode) override;
    TRACEHANDLE Open(EVENT_TRACE_LOGFILEW& logFile) override;
    ULONG Process(TRACEHANDLE handle) override;
    ULONG Close(TRACEHANDLE handle) override;

    TraceBuilder log;
    ULONG startStatus = ERROR_SUCCESS;
    ULONG controlStatus = ERROR_SUCCESS;
    bool opens = true;
    ULONG processStatus = ERROR_SUCCESS; // given after all events have been played
    std::vector<std::wstring>
        calls; // "start NAME", "control NAME CODE", "open PATH", "process", "close HANDLE"

private:
    EVENT_TRACE_LOGFILEW opened{};
};

} // namespace keyreap
