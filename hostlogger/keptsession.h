#pragma once

#include "hostlogger/loggersession.h"

#include <cstdint>
#include <optional>
#include <string>

namespace keyreap {

// A session that runs until it is stopped by its name, whatever becomes of the process that started it: a
// file of the prefix that exists as long as the session does. Windows only.
class KeptSession {
public:
    explicit KeptSession(const std::wstring& sessionName);

    // Creates the session. 0, or ERROR_ALREADY_EXISTS while it runs, or the reason why its file can't be
    // created.
    std::uint32_t Create() const;

    // Stores what another process needs to stop it.
    bool Store(const StartedSession& started) const;

    // What was stored; nothing if the session doesn't run, or not yet.
    std::optional<StartedSession> Load() const;

    // Ends the session; false if it doesn't run.
    bool End() const;

private:
    std::wstring file;
};

} // namespace keyreap
