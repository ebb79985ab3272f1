#include "trace/wineeventtracing.h"

#include <cstring>
#include <filesystem>
#include <string>
#include <utility>

namespace keyreap {

namespace {

GUID ToGuid(const Guid& guid) {
    static_assert(sizeof(GUID) == sizeof(Guid));
    GUID converted{};
    std::memcpy(&converted, &guid, sizeof(converted));
    return converted;
}

// Passes the events of a log file to the callbacks that were given when it was opened.
class CallbackListener : public EtlListener {
public:
    explicit CallbackListener(EVENT_TRACE_LOGFILEW& logFile) : logFile(logFile) {}

    void OnEvent(const EtlEvent& event) override {
        EVENT_TRACE record{};
        record.Header.Class.Type = event.type;
        record.Header.Class.Level = event.level;
        record.Header.Class.Version = event.version;
        record.Header.ThreadId = event.threadId;
        record.Header.ProcessId = event.processId;
        record.Header.TimeStamp.QuadPart = event.timeStamp;
        record.Header.Guid = ToGuid(event.guid);
        record.MofData = const_cast<std::byte*>(event.payload.data());
        record.MofLength = static_cast<ULONG>(event.payload.size());
        logFile.EventCallback(&record);
    }

    bool OnBuffer() override {
        goOn = logFile.BufferCallback(&logFile) != FALSE;
        return goOn;
    }

    bool Cancelled() const { return !goOn; }

private:
    EVENT_TRACE_LOGFILEW& logFile;
    bool goOn = true;
};

} // namespace

ULONG WineEventTracing::Start(TRACEHANDLE& session, const wchar_t* loggerName,
                              EVENT_TRACE_PROPERTIES& properties) {
    LoggerSession wanted;
    wanted.name = loggerName;
    wanted.logFile = reinterpret_cast<const wchar_t*>(reinterpret_cast<const std::byte*>(&properties) +
                                                      properties.LogFileNameOffset);
    wanted.maximumFileSize = properties.MaximumFileSize;
    wanted.logFileMode = properties.LogFileMode;
    wanted.logsProcesses = (properties.EnableFlags & EVENT_TRACE_FLAG_PROCESS) != 0;
    const ULONG status = logger.Start(wanted);
    if (status == ERROR_SUCCESS) {
        session = ++lastHandle;
    }
    return status;
}

ULONG WineEventTracing::Control(TRACEHANDLE, const wchar_t*, EVENT_TRACE_PROPERTIES& properties,
                                ULONG controlCode) {
    if (controlCode != EVENT_TRACE_CONTROL_STOP) {
        return ERROR_NOT_SUPPORTED;
    }
    const ULONG status = logger.Stop();
    properties.EventsLost = logger.EventsLost();
    return status;
}

TRACEHANDLE WineEventTracing::Open(EVENT_TRACE_LOGFILEW& logFile) {
    if (!logFile.LogFileName) {
        return INVALID_PROCESSTRACE_HANDLE;
    }
    LogConsumer log;
    log.callbacks = logFile;
    log.source = std::make_unique<EtlFileSource>(std::filesystem::path(logFile.LogFileName));
    log.reader = std::make_unique<EtlReader>(*log.source);
    if (!log.reader->Open()) {
        return INVALID_PROCESSTRACE_HANDLE;
    }
    logs[++lastHandle] = std::move(log);
    return lastHandle;
}

ULONG WineEventTracing::Process(TRACEHANDLE handle) {
    const auto log = logs.find(handle);
    if (log == logs.end()) {
        return ERROR_INVALID_HANDLE;
    }
    CallbackListener listener(log->second.callbacks);
    if (!log->second.reader->Process(listener)) {
        return ERROR_READ_FAULT;
    }
    return listener.Cancelled() ? ERROR_CANCELLED : ERROR_SUCCESS;
}

ULONG WineEventTracing::Close(TRACEHANDLE handle) {
    return logs.erase(handle) != 0 ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

} // namespace keyreap
