#pragma once

#include "trace/eventtracing.h"

#include <functional>
#include <string>

namespace keyreap {

// The host's event tracing, observed while a session captures with it. Windows only.
class ObservedTracing : public EventTracing {
public:
    explicit ObservedTracing(EventTracing& tracing) : tracing(tracing) {}

    // The ceiling of the log, in megabytes, in the place of the session's own.
    void SetCeiling(ULONG megabytes) { ceiling = megabytes; }
    // The log also gets the processes that start.
    void AddProcesses() { addsProcesses = true; }
    // Called before the trace starts.
    std::function<void()> onStart;
    // Called when the trace has stopped, on the thread that stopped it.
    std::function<void()> onStopped;
    // Called with the log's path when the session has read it. Nothing has been removed from the registry.
    std::function<void(const std::wstring&)> onRead;

    // Whether the session could start its trace.
    bool HasStarted() const { return hasStarted; }
    ULONG Ceiling() const { return ceiling; }

    ULONG Start(TRACEHANDLE& session, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties) override;
    ULONG Control(TRACEHANDLE session, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties,
                  ULONG controlCode) override;
    TRACEHANDLE Open(EVENT_TRACE_LOGFILEW& logFile) override;
    ULONG Process(TRACEHANDLE log) override;
    ULONG Close(TRACEHANDLE log) override;

private:
    EventTracing& tracing;
    ULONG ceiling = 0;
    bool addsProcesses = false;
    bool hasStarted = false;
    std::wstring readFile; // until it is closed
};

} // namespace keyreap
