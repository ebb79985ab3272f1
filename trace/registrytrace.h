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
// from Start to Stop. Ends the session at the latest in its destructor, so that none outlives the run; a
// session that somebody else started is left alone.
class RegistryTrace {
public:
    // Builds the session's properties and touches nothing of the system.
    RegistryTrace(std::wstring_view logFilePath, std::wstring_view loggerName,
                  EventTracing& eventTracing = HostEventTracing());
    ~RegistryTrace();
    RegistryTrace(const RegistryTrace&) = delete;
    RegistryTrace& operator=(const RegistryTrace&) = delete;

    // The name as it stands in the properties.
    std::wstring LoggerName() const;

    // Starts the session and returns the status of StartTraceW, whatever it is; there is no second try.
    ULONG Start();

    // Ends a running session, once: true if none runs or if the system ended it. A session that the system
    // could not end counts as ended and isn't tried again.
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
