#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace keyreap {

// The parameters of a logger session.
struct LoggerSession {
    std::wstring name;                 // a prefix has one session of a name at a time
    std::wstring logFile;              // path; an existing file is replaced
    std::uint32_t maximumFileSize = 0; // megabytes; 0 for none
    std::uint32_t logFileMode = 0;     // EVENT_TRACE_FILE_MODE_... (evntrace.h)
    bool logsProcesses = false;        // beside the registry's events also those of processes that start

    bool operator==(const LoggerSession&) const = default;
};

// A session that runs.
struct StartedSession {
    LoggerSession session;
    std::wstring startMark;           // in the request log
    std::int64_t startTime = 0;       // in the log's clock
    std::int64_t startSystemTime = 0; // units of 100 ns since 1601

    bool operator==(const StartedSession&) const = default;
};

// A started session as a text with a line per field, so that another process can go on with it.
std::wstring TextOf(const StartedSession& started);
// Reads such a text; nothing if a line is missing or isn't of its form.
std::optional<StartedSession> ParseStartedSession(std::wstring_view text);

} // namespace keyreap
