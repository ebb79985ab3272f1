#include "tests/support/scriptedeventtracing.h"

#include "platform/core/platformguid.h"

#include <cstddef>

namespace keyreap {

namespace {

EVENT_TRACE SystemEvent(TraceBuilder::Event& event) {
    EVENT_TRACE system{};
    system.Header.Guid = ToPlatformGuid(event.guid);
    system.Header.Class.Type = event.type;
    system.Header.Class.Version = event.version;
    system.Header.ProcessId = event.processId;
    system.Header.ThreadId = event.threadId;
    system.Header.TimeStamp.QuadPart = event.timeStamp;
    system.MofData = event.payload.empty() ? nullptr : event.payload.data();
    system.MofLength = static_cast<ULONG>(event.payload.size());
    return system;
}

} // namespace

ULONG ScriptedEventTracing::Start(TRACEHANDLE& session, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES&) {
    calls.push_back(std::wstring(L"start ") + loggerName);
    if (startStatus == ERROR_SUCCESS) {
        session = sessionHandle;
    }
    return startStatus;
}

ULONG ScriptedEventTracing::Control(TRACEHANDLE, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES&,
                                    ULONG controlCode) {
    calls.push_back(std::wstring(L"control ") + loggerName + L" " + std::to_wstring(controlCode));
    return controlStatus;
}

TRACEHANDLE ScriptedEventTracing::Open(EVENT_TRACE_LOGFILEW& logFile) {
    calls.push_back(std::wstring(L"open ") + logFile.LogFileName);
    opened = logFile;
    return opens ? logHandle : INVALID_PROCESSTRACE_HANDLE;
}

ULONG ScriptedEventTracing::Process(TRACEHANDLE) {
    calls.push_back(L"process");
    for (TraceBuilder::Event& event : log.Events()) {
        EVENT_TRACE system = SystemEvent(event);
        opened.EventCallback(&system);
    }
    opened.BufferCallback(&opened);
    return processStatus;
}

ULONG ScriptedEventTracing::Close(TRACEHANDLE handle) {
    calls.push_back(L"close " + std::to_wstring(handle));
    return ERROR_SUCCESS;
}

} // namespace keyreap
