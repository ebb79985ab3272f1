#include "trace/eventtracing.h"

#include "platform/os/winehost.h"
#include "trace/wineeventtracing.h"

namespace keyreap {

namespace {

EventTracing& WinesEventTracing() {
    static WineEventTracing wine;
    return wine;
}

} // namespace

ULONG SystemEventTracing::Start(TRACEHANDLE& session, const wchar_t* loggerName,
                                EVENT_TRACE_PROPERTIES& properties) {
    return StartTraceW(&session, loggerName, &properties);
}

ULONG SystemEventTracing::Control(TRACEHANDLE session, const wchar_t* loggerName,
                                  EVENT_TRACE_PROPERTIES& properties, ULONG controlCode) {
    return ControlTraceW(session, loggerName, &properties, controlCode);
}

TRACEHANDLE SystemEventTracing::Open(EVENT_TRACE_LOGFILEW& logFile) {
    return OpenTraceW(&logFile);
}

ULONG SystemEventTracing::Process(TRACEHANDLE log) {
    return ProcessTrace(&log, 1, nullptr, nullptr);
}

ULONG SystemEventTracing::Close(TRACEHANDLE handle) {
    return CloseTrace(handle);
}

EventTracing& HostEventTracing() {
    static SystemEventTracing system;
    static EventTracing& host = RunsOnWine() ? WinesEventTracing() : system;
    return host;
}

} // namespace keyreap
