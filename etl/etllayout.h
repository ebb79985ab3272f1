#pragma once

#include <cstddef>
#include <cstdint>

// The layout of event trace logs (.etl). Names are those of the published headers; offsets and sizes are in
// bytes, numbers are little-endian.
namespace keyreap::etl {

// WMI_BUFFER_HEADER (ntwmi.h), at the beginning of each buffer of a log.
namespace buffer {
inline constexpr std::size_t bufferSize = 0;  // u32: of the whole buffer, the same in all of a log
inline constexpr std::size_t savedOffset = 4; // u32: the end of the last record, or 0 if the records mark it
inline constexpr std::size_t currentOffset = 8;   // u32
inline constexpr std::size_t timeStamp = 16;      // i64: when it was flushed, in the log's clock
inline constexpr std::size_t sequenceNumber = 24; // i64: counts the buffers in the order of flushing
inline constexpr std::size_t state = 44;          // u32: ETW_BUFFER_STATE
inline constexpr std::size_t offset = 48;         // u32: as savedOffset, while flushing
inline constexpr std::size_t bufferFlag = 52;     // u16
inline constexpr std::size_t bufferType = 54;     // u16
inline constexpr std::size_t headerSize = 72;

inline constexpr std::uint32_t stateFlush = 3;
inline constexpr std::uint16_t flagFlushMarker = 0x01;
inline constexpr std::uint16_t flagEventsLost = 0x02;
inline constexpr std::uint16_t flagCompressed = 0x40;
inline constexpr std::uint16_t typeGeneric = 0;
inline constexpr std::uint16_t typeHeader = 4;

// EVENT_TRACE_PROPERTIES.BufferSize (evntrace.h) is in kilobytes, from 1 to 16384.
inline constexpr std::uint32_t sizeUnit = 1024;
inline constexpr std::uint32_t maximumSize = 16384 * sizeUnit;
} // namespace buffer

// What the records of a buffer have in common. Each begins at a multiple of 8.
namespace record {
inline constexpr std::size_t alignment = 8;
inline constexpr std::size_t smallest = 8;
inline constexpr std::size_t largest = 0xFFFF; // sizes have 16 bits

constexpr std::size_t Aligned(std::size_t size) {
    return (size + alignment - 1) & ~(alignment - 1);
}

// The first 32 bits: TRACE_HEADER_FLAG, the header type in bits 16 to 23, and in the low half the version
// (system, compact and perfinfo headers) or the record's size (all others).
inline constexpr std::size_t marker = 0;
inline constexpr std::uint32_t headerFlag = 0x80000000;     // TRACE_HEADER_FLAG
inline constexpr std::uint32_t eventTraceFlag = 0x40000000; // TRACE_HEADER_EVENT_TRACE
inline constexpr std::uint32_t noRecord = 0;
inline constexpr std::uint32_t fillerRecord = 0xFFFFFFFF;
inline constexpr unsigned char fillerByte = 0xFF;

// TRACE_HEADER_TYPE_...
inline constexpr std::uint8_t system32 = 0x01;
inline constexpr std::uint8_t system64 = 0x02;
inline constexpr std::uint8_t compact32 = 0x03;
inline constexpr std::uint8_t compact64 = 0x04;
inline constexpr std::uint8_t full32 = 0x0A;
inline constexpr std::uint8_t instance32 = 0x0B;
inline constexpr std::uint8_t perfInfo32 = 0x10;
inline constexpr std::uint8_t perfInfo64 = 0x11;
inline constexpr std::uint8_t manifest32 = 0x12; // EVENT_HEADER
inline constexpr std::uint8_t manifest64 = 0x13;
inline constexpr std::uint8_t full64 = 0x14;
inline constexpr std::uint8_t instance64 = 0x15;

// In all headers but perfinfo.
inline constexpr std::size_t threadId = 8;   // u32
inline constexpr std::size_t processId = 12; // u32
inline constexpr std::size_t timeStamp = 16; // i64

inline constexpr std::uint32_t noId = 0xFFFFFFFF; // process and thread of an event with a perfinfo header
} // namespace record

// SYSTEM_TRACE_HEADER, whole and compact, and PERFINFO_TRACE_HEADER: what the kernel itself logs.
namespace kernelheader {
inline constexpr std::size_t size = 4;               // u16
inline constexpr std::size_t hookId = 6;             // u16: group in the high byte, event type in the low one
inline constexpr std::size_t perfInfoTimeStamp = 8;  // i64
inline constexpr std::size_t kernelAndUserTime = 24; // two u32, of system headers that are not compact
inline constexpr std::size_t systemSize = 32;
inline constexpr std::size_t compactSize = 24;
inline constexpr std::size_t perfInfoSize = 16;

inline constexpr std::uint16_t logHeaderHook = 0x0000; // the log's first event
inline constexpr std::uint16_t eventVersion = 2;       // of what the writer logs
} // namespace kernelheader

// EVENT_TRACE_HEADER (evntrace.h): classic events, each with its class GUID. An instance header
// continues with InstanceId, ParentInstanceId and ParentGuid, as EVENT_TRACE does after its header.
namespace classicheader {
inline constexpr std::size_t type = 4;    // u8
inline constexpr std::size_t level = 5;   // u8
inline constexpr std::size_t version = 6; // u16
inline constexpr std::size_t guid = 24;
inline constexpr std::size_t fullSize = 48;
inline constexpr std::size_t instanceSize = 72;
} // namespace classicheader

// EVENT_HEADER with its EVENT_DESCRIPTOR (evntcons.h).
namespace manifestheader {
inline constexpr std::size_t flags = 4; // u16
inline constexpr std::size_t providerId = 24;
inline constexpr std::size_t id = 40;      // u16
inline constexpr std::size_t version = 42; // u8
inline constexpr std::size_t level = 44;   // u8
inline constexpr std::size_t opcode = 45;  // u8
inline constexpr std::size_t size = 80;

inline constexpr std::uint16_t flagExtendedInfo = 0x0001; // EVENT_HEADER_FLAG_EXTENDED_INFO
} // namespace manifestheader

// EVENT_HEADER_EXTENDED_DATA_ITEM (evntcons.h) as it is in a log: the data follows at once, and the next item
// begins at a multiple of 8.
namespace extendeditem {
inline constexpr std::size_t linkage = 4;  // u16: bit 0 is set if another item follows
inline constexpr std::size_t dataSize = 6; // u16
inline constexpr std::size_t headerSize = 8;
} // namespace extendeditem

// TRACE_LOGFILE_HEADER (evntrace.h): the payload of the log's first event. From `loggerName` on,
// offsets depend on the pointer size. The names of the logger and of the file follow, each with its
// terminator.
namespace logheader {
inline constexpr std::size_t bufferSize = 0;   // u32
inline constexpr std::size_t majorVersion = 4; // u8, as are the next three
inline constexpr std::size_t minorVersion = 5;
inline constexpr std::size_t subVersion = 6;
inline constexpr std::size_t subMinorVersion = 7;
inline constexpr std::size_t providerVersion = 8;     // u32: build of the system
inline constexpr std::size_t numberOfProcessors = 12; // u32
inline constexpr std::size_t endTime = 16;            // i64: system time
inline constexpr std::size_t timerResolution = 24;    // u32: units of 100 ns
inline constexpr std::size_t maximumFileSize = 28;    // u32: megabytes
inline constexpr std::size_t logFileMode = 32;        // u32: EVENT_TRACE_FILE_MODE_...
inline constexpr std::size_t buffersWritten = 36;     // u32
inline constexpr std::size_t startBuffers = 40;       // u32: buffers at the start that are never overwritten
inline constexpr std::size_t pointerSize = 44;        // u32: 4 or 8
inline constexpr std::size_t eventsLost = 48;         // u32
inline constexpr std::size_t cpuSpeedInMHz = 52;      // u32
inline constexpr std::size_t loggerName = 56;         // two pointers, meaningless in a file

inline constexpr std::size_t timeZoneSize = 172; // TIME_ZONE_INFORMATION, which begins with the bias

// After the time zone, from a multiple of 8 on:
inline constexpr std::size_t bootTime = 0;       // i64: system time
inline constexpr std::size_t perfFreq = 8;       // i64: ticks a second
inline constexpr std::size_t startTime = 16;     // i64: system time
inline constexpr std::size_t reservedFlags = 24; // u32: the clock of the time stamps
inline constexpr std::size_t buffersLost = 28;   // u32
inline constexpr std::size_t tailSize = 32;

inline constexpr std::uint32_t modeSequential = 1;          // EVENT_TRACE_FILE_MODE_SEQUENTIAL
inline constexpr std::uint32_t modeCircular = 2;            // EVENT_TRACE_FILE_MODE_CIRCULAR
inline constexpr std::uint32_t clockPerformanceCounter = 1; // as WNODE_HEADER.ClientContext (wmistr.h)
} // namespace logheader

// The payload of registry events of Windows Vista and later (MOF class Registry_TypeGroup1) at pointer
// size 8.
namespace registry {
inline constexpr std::uint16_t group = 0x0900;
inline constexpr std::size_t initialTime = 0; // i64
inline constexpr std::size_t status = 8;      // u32
inline constexpr std::size_t index = 12;      // u32
inline constexpr std::size_t keyHandle = 16;  // u64
inline constexpr std::size_t keyName = 24;    // UTF-16 with terminator
} // namespace registry

// The payload of the start of a process in version 2 (MOF class Process_V2_TypeGroup1) at pointer size 8.
namespace process {
inline constexpr std::uint16_t group = 0x0300;
inline constexpr std::uint8_t start = 1;    // EVENT_TRACE_TYPE_START
inline constexpr std::size_t uniqueKey = 0; // u64
inline constexpr std::size_t processId = 8; // u32, as are the next three
inline constexpr std::size_t parentId = 12;
inline constexpr std::size_t sessionId = 16;
inline constexpr std::size_t exitStatus = 20;
inline constexpr std::size_t userSid = 24; // a TOKEN_USER with its SID, or a u32 of 0 for none
inline constexpr std::size_t noSidSize = 4;
} // namespace process

} // namespace keyreap::etl
