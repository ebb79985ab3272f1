#pragma once

#include "hostlogger/loggersession.h"
#include "hostlogger/requestlog.h"
#include "platform/os/ownedhandle.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace keyreap {

// The kernel logger of a Wine prefix whose server writes a request log: records what every process does to
// the registry from Start to Stop. Statuses are those of winerror.h. A session ends with its logger, unless
// the host is described as one where it outlives its process (Strictness). Windows only.
class RequestLogger {
public:
    explicit RequestLogger(std::wstring requestLog = RequestLogPath()) : requests(std::move(requestLog)) {}

    // ERROR_NOT_SUPPORTED without a request log; ERROR_ALREADY_EXISTS while a session of the name runs, in
    // this process or in another; ERROR_NO_SYSTEM_RESOURCES while this logger runs a session of another name;
    // ERROR_TIMEOUT if the request log doesn't grow; ERROR_DISK_FULL if lines of it are missing; the status
    // of a host where nothing starts (Strictness); or the reason why the log file can't be created.
    std::uint32_t Start(const LoggerSession& asked);

    // Waits until the request log contains everything up to now, and writes the log file. ERROR_TIMEOUT if
    // the log stops before, ERROR_DISK_FULL if lines of it are missing or the log file can't be written; the
    // file then contains as much as could be read. ERROR_WMI_INSTANCE_NOT_FOUND if no session runs.
    std::uint32_t Stop();

    // The same for a session that another process started. Only sessions that outlive their process are
    // found.
    std::uint32_t StopByName(const std::wstring& name);

    // How many events the log has lost that was written last.
    std::uint32_t EventsLost() const { return eventsLost; }

private:
    struct Running {
        StartedSession started;
        OwnedHandle owner; // a mutex with the session's name, or null if the session outlives the process
    };

    std::uint32_t Claim(Running& starting) const;
    std::uint32_t Begin(StartedSession& starting);
    void GiveUp(const Running& starting) const;
    std::uint32_t CatchUp(KeyRequestListener* listener);
    std::uint32_t WriteLog(const StartedSession& ended);

    RequestLog requests;
    std::optional<Running> running;
    std::uint32_t eventsLost = 0;
};

} // namespace keyreap
