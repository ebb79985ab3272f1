#include "tests/support/scriptedtracing.h"

#include "platform/core/text/platformguid.h"

namespace keyreap {

namespace {

EVENT_TRACE ToSystemEvent(TraceBuilder::Event& event) {
    EVENT_TRACE converted{};
    converted.Header.Size = sizeof(EVENT_TRACE_HEADER);
    converted.Header.Class.Type = event.type;
    converted.Header.Class.Version = event.version;
    converted.Header.ProcessId = event.processId;
    converted.Header.ThreadId = event.threadId;
    converted.Header.TimeStamp.QuadPart = event.timeStamp;
    converted.Header.Guid = ToPlatformGuid(event.guid);
    converted.MofData = event.payload.empty() ? nullptr : event.payload.data();
    converted.MofLength = static_cast<ULONG>(event.payload.size());
    return converted;
}

} // namespace

ULONG ScriptedTracing::Start(TRACEHANDLE& handle, const wchar_t* loggerName,
                             EVENT_TRACE_PROPERTIES& properties) {
    calls.push_back(L"start " + std::wstring(loggerName));
    const auto* const bytes = reinterpret_cast<const std::byte*>(&properties);
    startProperties.assign(bytes, bytes + properties.Wnode.BufferSize);
    if (startStatus == ERROR_SUCCESS) {
        handle = session;
    }
    return startStatus;
}

ULONG ScriptedTracing::Control(TRACEHANDLE handle, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES&,
                               ULONG controlCode) {
    calls.push_back(L"control " + std::to_wstring(handle) + L" " + loggerName + L" " +
                    std::to_wstring(controlCode));
    return controlStatus;
}

TRACEHANDLE ScriptedTracing::Open(EVENT_TRACE_LOGFILEW& logFile) {
    calls.push_back(L"open");
    openedPath = logFile.LogFileName;
    openedMode = logFile.ProcessTraceMode;
    if (!logExists) {
        return failedOpen;
    }
    open[nextLog] = logFile;
    return nextLog++;
}

ULONG ScriptedTracing::Process(TRACEHANDLE handle) {
    calls.push_back(L"process " + std::to_wstring(handle));
    EVENT_TRACE_LOGFILEW& logFile = open.at(handle);
    std::size_t inBuffer = 0;
    for (TraceBuilder::Event event : log) {
        EVENT_TRACE converted = ToSystemEvent(event);
        call(logFile.EventCallback, &converted);
        if (++inBuffer == eventsInBuffer) {
            inBuffer = 0;
            ++playedBuffers;
            if (!call(logFile.BufferCallback, &logFile)) {
                return ERROR_CANCELLED;
            }
        }
    }
    return processStatus;
}

ULONG ScriptedTracing::Close(TRACEHANDLE handle) {
    calls.push_back(L"close " + std::to_wstring(handle));
    return open.erase(handle) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

} // namespace keyreap
