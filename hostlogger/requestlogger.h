#pragma once

#include "etl/etllogheader.h"
#include "hostlogger/requestlog.h"
#include "platform/os/ownedhandle.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace keyreap {

// What a logger session is to be.
struct LoggerSession {
    std::wstring name;                 // one session of a name at a time in the whole prefix
    std::wstring logFile;              // path, made anew
    std::uint32_t maximumFileSize = 0; // megabytes; 0 for none
    std::uint32_t logFileMode = 0;     // EVENT_TRACE_FILE_MODE_... (evntrace.h)
};

// The kernel logger of a prefix of Wine whose server keeps a request log: records what every process does to
// the registry from Start to Stop. Statuses are those of winerror.h. Windows only.
class RequestLogger {
public:
    explicit RequestLogger(std::wstring requestLog = RequestLogPath()) : requests(std::move(requestLog)) {}

    // ERROR_NOT_SUPPORTED without a request log, ERROR_ALREADY_EXISTS while a session of the name runs, here
    // or in another process that lives, ERROR_NO_SYSTEM_RESOURCES while one of another name runs here,
    // ERROR_TIMEOUT if the request log doesn't move, ERROR_DISK_FULL if lines of it are missing; or why the
    // log file can't be made.
    std::uint32_t Start(const LoggerSession& asked);

    // Waits until the request log has told everything up to now, and writes the log file. ERROR_TIMEOUT if it
    // doesn't come that far, ERROR_DISK_FULL if lines of it are missing or the log file can't be written; the
    // file then holds what could be had. ERROR_WMI_INSTANCE_NOT_FOUND if no session runs.
    std::uint32_t Stop();

private:
    struct Running {
        LoggerSession session;
        OwnedHandle owner; // a mutex whose name is the session's: it goes with its process
        std::int64_t startTime = 0;
        std::int64_t startSystemTime = 0;
    };

    std::uint32_t CatchUp(KeyRequestListener* listener);
    std::uint32_t WriteLog(const Running& ended);

    RequestLog requests;
    std::optional<Running> running;
};

} // namespace keyreap
