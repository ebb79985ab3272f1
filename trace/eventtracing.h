#pragma once

#include <windows.h>

#include <evntrace.h>

namespace keyreap {

// The system's event tracing: the five entry points of evntrace.h that the program uses, with their
// arguments and statuses as published there. A seam: another logger, or a scripted one in tests, can
// implement it.
class EventTracing {
public:
    virtual ~EventTracing() = default;

    virtual ULONG Start(TRACEHANDLE& session, const wchar_t* loggerName,
                        EVENT_TRACE_PROPERTIES& properties) = 0;
    virtual ULONG Control(TRACEHANDLE session, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties,
                          ULONG controlCode) = 0;

    // Opens a log for Process; INVALID_PROCESSTRACE_HANDLE if that fails.
    virtual TRACEHANDLE Open(EVENT_TRACE_LOGFILEW& logFile) = 0;
    // Runs a whole log through the callbacks given to Open, on the calling thread.
    virtual ULONG Process(TRACEHANDLE log) = 0;
    virtual ULONG Close(TRACEHANDLE handle) = 0;
};

// The entry points of advapi32.
class SystemEventTracing : public EventTracing {
public:
    ULONG Start(TRACEHANDLE& session, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties) override;
    ULONG Control(TRACEHANDLE session, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties,
                  ULONG controlCode) override;
    TRACEHANDLE Open(EVENT_TRACE_LOGFILEW& logFile) override;
    ULONG Process(TRACEHANDLE log) override;
    ULONG Close(TRACEHANDLE handle) override;
};

// The event tracing of this host. On Windows it is the system's. Wine's entry points report success and
// record nothing, so on Wine it is WineEventTracing.
EventTracing& HostEventTracing();

} // namespace keyreap
