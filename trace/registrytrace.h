#pragma once

#include "trace/eventtracing.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// The name of the one kernel logger session of a machine (KERNEL_LOGGER_NAMEW of evntrace.h).
inline constexpr std::wstring_view kernelLoggerSession = L"NT Kernel Logger";

// Records the registry operations of the whole machine into a circular log file of at most 2048 megabytes,
// from Start to Stop. The destructor ends a session that still runs, so that none outlives the program. A
// session of another program is left alone.
class RegistryTrace {
public:
    // Builds the session's properties, without a call to the system.
    RegistryTrace(std::wstring_view logFilePath, std::wstring_view loggerName,
                  EventTracing& tracing = HostEventTracing());
    ~RegistryTrace();
    RegistryTrace(const RegistryTrace&) = delete;
    RegistryTrace& operator=(const RegistryTrace&) = delete;

    // The name in the properties.
    std::wstring LoggerName() const;

    // Starts the session and returns the status of StartTraceW. It does not try again.
    ULONG Start();

    // Ends the session. True if it was not running or if the system ended it. A session that the system could
    // not end counts as ended, and is not tried again.
    bool Stop();

    bool Running() const { return running; }

private:
    EVENT_TRACE_PROPERTIES& Properties();
    const wchar_t* NameInProperties() const;

    EventTracing& tracing;
    std::vector<std::byte> properties; // EVENT_TRACE_PROPERTIES, logger name, log file path
    TRACEHANDLE sessionHandle = 0;
    bool running = false;
};

} // namespace keyreap
