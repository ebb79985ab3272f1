#pragma once

#include "etl/etlfile.h"
#include "etl/etlreader.h"
#include "hostlogger/requestlogger.h"
#include "trace/eventtracing.h"

#include <map>
#include <memory>

namespace keyreap {

// Event tracing on Wine, which has the entry points but no kernel logger: the request log of its server
// stands behind Start and Control, our own reader of the log file behind the rest. Without a request log
// Start gives ERROR_NOT_SUPPORTED, and a session falls back to the other way of capturing.
class WineEventTracing : public EventTracing {
public:
    ULONG Start(TRACEHANDLE& session, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties) override;
    // Knows EVENT_TRACE_CONTROL_STOP alone.
    ULONG Control(TRACEHANDLE session, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties,
                  ULONG controlCode) override;
    TRACEHANDLE Open(EVENT_TRACE_LOGFILEW& logFile) override;
    ULONG Process(TRACEHANDLE log) override;
    ULONG Close(TRACEHANDLE handle) override;

private:
    struct OpenLog {
        EVENT_TRACE_LOGFILEW callbacks{};
        std::unique_ptr<EtlFileSource> source;
        std::unique_ptr<EtlReader> reader;
    };

    RequestLogger logger;
    std::map<TRACEHANDLE, OpenLog> logs;
    TRACEHANDLE lastHandle = 0;
};

} // namespace keyreap
