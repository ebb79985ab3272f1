#include "trace/eventtracing.h"

namespace keyreap {

namespace {

bool RunsOnWine() {
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    return ntdll && GetProcAddress(ntdll, "wine_get_version");
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

ULONG NoEventTracing::Start(TRACEHANDLE&, const wchar_t*, EVENT_TRACE_PROPERTIES&) {
    return ERROR_NOT_SUPPORTED;
}

ULONG NoEventTracing::Control(TRACEHANDLE, const wchar_t*, EVENT_TRACE_PROPERTIES&, ULONG) {
    return ERROR_NOT_SUPPORTED;
}

TRACEHANDLE NoEventTracing::Open(EVENT_TRACE_LOGFILEW&) {
    return INVALID_PROCESSTRACE_HANDLE;
}

ULONG NoEventTracing::Process(TRACEHANDLE) {
    return ERROR_NOT_SUPPORTED;
}

ULONG NoEventTracing::Close(TRACEHANDLE) {
    return ERROR_INVALID_HANDLE;
}

EventTracing& HostEventTracing() {
    static SystemEventTracing system;
    static NoEventTracing none;
    static EventTracing& host = RunsOnWine() ? static_cast<EventTracing&>(none) : system;
    return host;
}

} // namespace keyreap
