#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace keyreap::independent {

// An independent decoder of written logs. It follows the published structures alone, shares no code with the
// room that writes and reads logs, accepts only logs of 64-bit system events, and is strict: every violation
// of the format is an Irregularity.
class Irregularity : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// WMI_BUFFER_HEADER.
struct WmiBufferHeader {
    std::uint32_t BufferSize;
    std::uint32_t SavedOffset;
    std::uint32_t CurrentOffset;
    std::int32_t ReferenceCount;
    std::int64_t TimeStamp;
    std::int64_t SequenceNumber;
    std::uint64_t ClockTypeAndFrequency;
    std::uint32_t ClientContext;
    std::uint32_t State;
    std::uint32_t Offset;
    std::uint16_t BufferFlag;
    std::uint16_t BufferType;
    std::uint8_t Padding[16];
};
static_assert(sizeof(WmiBufferHeader) == 72);

// SYSTEM_TRACE_HEADER.
struct SystemTraceHeader {
    std::uint16_t Version;
    std::uint8_t HeaderType;
    std::uint8_t Flags;
    std::uint16_t PacketSize;
    std::uint8_t PacketType;
    std::uint8_t PacketGroup;
    std::uint32_t ThreadId;
    std::uint32_t ProcessId;
    std::int64_t SystemTime;
    std::uint32_t KernelTime;
    std::uint32_t UserTime;
};
static_assert(sizeof(SystemTraceHeader) == 32);

// TRACE_LOGFILE_HEADER64.
struct TraceLogfileHeader {
    std::uint32_t BufferSize;
    std::uint8_t MajorVersion;
    std::uint8_t MinorVersion;
    std::uint8_t SubVersion;
    std::uint8_t SubMinorVersion;
    std::uint32_t ProviderVersion;
    std::uint32_t NumberOfProcessors;
    std::int64_t EndTime;
    std::uint32_t TimerResolution;
    std::uint32_t MaximumFileSize;
    std::uint32_t LogFileMode;
    std::uint32_t BuffersWritten;
    std::uint32_t StartBuffers;
    std::uint32_t PointerSize;
    std::uint32_t EventsLost;
    std::uint32_t CpuSpeedInMHz;
    std::uint64_t LoggerName;
    std::uint64_t LogFileName;
    std::int32_t Bias;
    std::uint8_t RestOfTimeZone[168];
    std::uint32_t Padding;
    std::int64_t BootTime;
    std::int64_t PerfFreq;
    std::int64_t StartTime;
    std::uint32_t ReservedFlags;
    std::uint32_t BuffersLost;
};
static_assert(sizeof(TraceLogfileHeader) == 280);

struct Record {
    SystemTraceHeader header;
    std::vector<std::byte> payload;
};

struct Buffer {
    WmiBufferHeader header;
    std::vector<Record> records;
};

struct Log {
    TraceLogfileHeader header;
    std::wstring loggerName;
    std::wstring logFileName;
    std::vector<Buffer> buffers; // in file order, the one with the log header first

    // All records but the log header, in file order.
    std::vector<Record> Events() const;
};

Log Decode(const std::vector<std::byte>& bytes);

// The payload of a registry event of Windows Vista and later, 64 bit.
struct RegistryPayload {
    std::int64_t InitialTime;
    std::uint32_t Status;
    std::uint32_t Index;
    std::uint64_t KeyHandle;
    std::wstring KeyName;
};

RegistryPayload DecodeRegistry(const Record& record);

// The payload of a start of a process in version 2, 64 bit, without user.
struct ProcessPayload {
    std::uint64_t UniqueProcessKey;
    std::uint32_t ProcessId;
    std::uint32_t ParentId;
    std::uint32_t SessionId;
    std::int32_t ExitStatus;
    std::string ImageFileName;
};

ProcessPayload DecodeProcess(const Record& record);

} // namespace keyreap::independent
