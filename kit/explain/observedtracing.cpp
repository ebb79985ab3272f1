#include "kit/explain/observedtracing.h"

#include <utility>

namespace keyreap {

ULONG ObservedTracing::Start(TRACEHANDLE& session, const wchar_t* loggerName,
                             EVENT_TRACE_PROPERTIES& properties) {
    if (ceiling != 0) {
        properties.MaximumFileSize = ceiling;
    }
    ceiling = properties.MaximumFileSize;
    if (addsProcesses) {
        properties.EnableFlags |= EVENT_TRACE_FLAG_PROCESS;
    }
    if (onStart) {
        onStart();
    }
    const ULONG status = tracing.Start(session, loggerName, properties);
    hasStarted = status == ERROR_SUCCESS;
    return status;
}

ULONG ObservedTracing::Control(TRACEHANDLE session, const wchar_t* loggerName,
                               EVENT_TRACE_PROPERTIES& properties, ULONG controlCode) {
    const ULONG status = tracing.Control(session, loggerName, properties, controlCode);
    if (controlCode == EVENT_TRACE_CONTROL_STOP && onStopped) {
        onStopped();
    }
    return status;
}

TRACEHANDLE ObservedTracing::Open(EVENT_TRACE_LOGFILEW& logFile) {
    readFile = logFile.LogFileName ? logFile.LogFileName : L"";
    return tracing.Open(logFile);
}

ULONG ObservedTracing::Process(TRACEHANDLE log) {
    return tracing.Process(log);
}

ULONG ObservedTracing::Close(TRACEHANDLE log) {
    const ULONG status = tracing.Close(log);
    if (const std::wstring file = std::exchange(readFile, {}); !file.empty() && onRead) {
        onRead(file);
    }
    return status;
}

} // namespace keyreap
