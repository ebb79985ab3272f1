#include "trace/registrytrace.h"

#include "platform/core/text/platformguid.h"
#include "trace/traceevent.h"

#include <cstring>

namespace keyreap {

namespace {

constexpr ULONG queryPerformanceCounter = 1; // Wnode.ClientContext: the clock of the time stamps
constexpr ULONG minimumBuffers = 20;
constexpr ULONG maximumBuffers = 2020;
constexpr ULONG maximumMegabytes = 2048;

std::size_t SizeWithTerminator(std::wstring_view text) {
    return (text.size() + 1) * sizeof(wchar_t);
}

// The block that StartTraceW takes: the structure, then both texts with their terminators.
std::vector<std::byte> BuildProperties(std::wstring_view loggerName, std::wstring_view logFilePath) {
    const std::size_t nameOffset = sizeof(EVENT_TRACE_PROPERTIES);
    const std::size_t pathOffset = nameOffset + SizeWithTerminator(loggerName);
    std::vector<std::byte> block(pathOffset + SizeWithTerminator(logFilePath));

    EVENT_TRACE_PROPERTIES start{};
    start.Wnode.BufferSize = static_cast<ULONG>(block.size());
    start.Wnode.Flags = WNODE_FLAG_TRACED_GUID;
    start.Wnode.ClientContext = queryPerformanceCounter;
    start.Wnode.Guid = ToPlatformGuid(SystemTraceControlGuid);
    start.MinimumBuffers = minimumBuffers;
    start.MaximumBuffers = maximumBuffers;
    start.MaximumFileSize = maximumMegabytes;
    start.LogFileMode = EVENT_TRACE_FILE_MODE_CIRCULAR;
    start.EnableFlags = EVENT_TRACE_FLAG_REGISTRY;
    start.LoggerNameOffset = static_cast<ULONG>(nameOffset);
    start.LogFileNameOffset = static_cast<ULONG>(pathOffset);

    std::memcpy(block.data(), &start, sizeof(start));
    std::memcpy(block.data() + nameOffset, loggerName.data(), loggerName.size() * sizeof(wchar_t));
    std::memcpy(block.data() + pathOffset, logFilePath.data(), logFilePath.size() * sizeof(wchar_t));
    return block;
}

} // namespace

RegistryTrace::RegistryTrace(std::wstring_view logFilePath, std::wstring_view loggerName,
                             EventTracing& tracing)
    : tracing(tracing), properties(BuildProperties(loggerName, logFilePath)) {}

RegistryTrace::~RegistryTrace() {
    Stop();
    // Deliberate: CloseTrace is called in any case. It refuses both a session's handle, which is not a
    // consumer's, and 0.
    tracing.Close(sessionHandle);
}

std::wstring RegistryTrace::LoggerName() const {
    return NameInProperties();
}

ULONG RegistryTrace::Start() {
    const ULONG status = tracing.Start(sessionHandle, NameInProperties(), Properties());
    if (status == ERROR_SUCCESS) {
        running = true;
    }
    return status;
}

bool RegistryTrace::Stop() {
    if (!running) {
        return true;
    }
    running = false;
    return tracing.Control(sessionHandle, NameInProperties(), Properties(), EVENT_TRACE_CONTROL_STOP) ==
           ERROR_SUCCESS;
}

const wchar_t* RegistryTrace::NameInProperties() const {
    const auto& start = *reinterpret_cast<const EVENT_TRACE_PROPERTIES*>(properties.data());
    return reinterpret_cast<const wchar_t*>(properties.data() + start.LoggerNameOffset);
}

EVENT_TRACE_PROPERTIES& RegistryTrace::Properties() {
    return *reinterpret_cast<EVENT_TRACE_PROPERTIES*>(properties.data());
}

} // namespace keyreap
