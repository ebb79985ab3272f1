#pragma once

#include "etl/etlfile.h"
#include "etl/etlreader.h"
#include "hostlogger/requestlogger.h"
#include "trace/eventtracing.h"

#include <map>
#include <memory>

namespace keyreap {

// Event tracing on Wine, which has the entry points but no kernel logger. Start and Control use the request
// log of Wine's server, the other operations our own reader of log files. Without a request log Start gives
// ERROR_NOT_SUPPORTED, and a session captures by redirection instead.
class WineEventTracing : public EventTracing {
public:
    ULONG Start(TRACEHANDLE& session, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties) override;
    // Supports EVENT_TRACE_CONTROL_STOP only.
    ULONG Control(TRACEHANDLE session, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties,
                  ULONG controlCode) override;
    TRACEHANDLE Open(EVENT_TRACE_LOGFILEW& logFile) override;
    ULONG Process(TRACEHANDLE log) override;
    ULONG Close(TRACEHANDLE handle) override;

private:
    struct LogConsumer {
        EVENT_TRACE_LOGFILEW callbacks{};
        std::unique_ptr<EtlFileSource> source;
        std::unique_ptr<EtlReader> reader;
    };

    RequestLogger logger;
    std::map<TRACEHANDLE, LogConsumer> logs;
    TRACEHANDLE lastHandle = 0;
};

} // namespace keyreap
