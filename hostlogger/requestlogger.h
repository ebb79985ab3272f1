#pragma once

#include "etl/etllogheader.h"
#include "hostlogger/requestlog.h"
#include "platform/os/ownedhandle.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace keyreap {

// The parameters of a logger session.
struct LoggerSession {
    std::wstring name;                 // a prefix has one session of a name at a time
    std::wstring logFile;              // path; an existing file is replaced
    std::uint32_t maximumFileSize = 0; // megabytes; 0 for none
    std::uint32_t logFileMode = 0;     // EVENT_TRACE_FILE_MODE_... (evntrace.h)
};

// The kernel logger of a Wine prefix whose server writes a request log: records what every process does to
// the registry from Start to Stop. Statuses are those of winerror.h. Windows only.
class RequestLogger {
public:
    explicit RequestLogger(std::wstring requestLog = RequestLogPath()) : requests(std::move(requestLog)) {}

    // ERROR_NOT_SUPPORTED without a request log; ERROR_ALREADY_EXISTS while a session of the name runs, in
    // this process or in another; ERROR_NO_SYSTEM_RESOURCES while this logger runs a session of another name;
    // ERROR_TIMEOUT if the request log doesn't grow; ERROR_DISK_FULL if lines of it are missing; or the
    // reason why the log file can't be created.
    std::uint32_t Start(const LoggerSession& asked);

    // Waits until the request log contains everything up to now, and writes the log file. ERROR_TIMEOUT if
    // the log stops before, ERROR_DISK_FULL if lines of it are missing or the log file can't be written; the
    // file then contains as much as could be read. ERROR_WMI_INSTANCE_NOT_FOUND if no session runs.
    std::uint32_t Stop();

private:
    struct Running {
        LoggerSession session;
        OwnedHandle owner; // a mutex with the session's name; the system frees it when the process ends
        std::int64_t startTime = 0;
        std::int64_t startSystemTime = 0;
    };

    std::uint32_t CatchUp(KeyRequestListener* listener);
    std::uint32_t WriteLog(const Running& ended);

    RequestLog requests;
    std::optional<Running> running;
};

} // namespace keyreap
