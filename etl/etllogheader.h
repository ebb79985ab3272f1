#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace keyreap {

// The header of a log: TRACE_LOGFILE_HEADER (evntrace.h) and the names after it. System times are in units of
// 100 ns since 1601.
struct EtlLogHeader {
    std::uint32_t bufferSize = 64 * 1024; // bytes
    std::uint8_t majorVersion = 10;       // of the system
    std::uint8_t minorVersion = 0;
    std::uint8_t subVersion = 1; // of the log's format; current systems write 1.5
    std::uint8_t subMinorVersion = 5;
    std::uint32_t providerVersion = 0; // build of the system
    std::uint32_t numberOfProcessors = 1;
    std::int64_t endTime = 0;
    std::uint32_t timerResolution = 156250; // units of 100 ns
    std::uint32_t maximumFileSize = 0;      // megabytes; 0 for none
    std::uint32_t logFileMode = 0;          // EVENT_TRACE_FILE_MODE_...
    std::uint32_t buffersWritten = 0;
    std::uint32_t startBuffers = 1; // buffers at the start that a circular log keeps
    std::uint32_t pointerSize = 8;  // 4 or 8
    std::uint32_t eventsLost = 0;
    std::uint32_t cpuSpeedInMHz = 0;
    std::int32_t timeZoneBias = 0; // minutes to add to local time
    std::int64_t bootTime = 0;
    std::int64_t perfFreq = 10'000'000; // ticks of the time stamps' clock a second
    std::int64_t startTime = 0;
    std::uint32_t reservedFlags = 1; // clock of the time stamps: 1 performance counter, 2 system time
    std::uint32_t buffersLost = 0;
    std::wstring loggerName;
    std::wstring logFileName;
};

// Reads the payload of a log header event. No header if it is too short or its pointer size is neither 4 nor
// 8; a name without terminator ends with the payload.
std::optional<EtlLogHeader> ReadLogHeader(std::span<const std::byte> payload);

// Writes the payload for pointer size 8, whatever the field says, and returns its size. Names that don't fit
// are truncated. There must be room for at least minimumLogHeaderSize bytes.
std::size_t WriteLogHeader(const EtlLogHeader& header, std::span<std::byte> room);
inline constexpr std::size_t minimumLogHeaderSize = 284;

} // namespace keyreap
