#pragma once

#include "etl/etllogheader.h"
#include "etl/etlsink.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace keyreap {

// One registry operation, as the kernel logger records it.
struct EtlRegistryEvent {
    std::uint8_t type = 0; // EVENT_TRACE_TYPE_REGCREATE and its neighbours (evntrace.h)
    std::int64_t time = 0; // in the log's clock, like initialTime
    std::uint32_t processId = 0;
    std::uint32_t threadId = 0;
    std::int64_t initialTime = 0; // when the operation began
    std::uint32_t status = 0;     // NTSTATUS
    std::uint32_t index = 0;
    std::uint64_t keyHandle = 0; // address of a key control block; 0 with a complete name
    std::wstring_view keyName;
};

// The start of a process, as the kernel logger records it. The user and the command line are left out.
struct EtlProcessStart {
    std::int64_t time = 0;       // in the log's clock
    std::uint32_t processId = 0; // that started
    std::uint32_t parentId = 0;
    std::wstring_view imageName; // what isn't ASCII is logged as a question mark
};

// Writes an event trace log: buffers of one size, with the log header alone in the first, then the
// events, of version 2 with 64-bit system headers, in the order of the calls. A circular log stays below its
// size limit by overwriting the buffers with the oldest events; the first buffer is kept. Needs memory for
// one buffer.
class EtlWriter {
public:
    // The writer sets these fields of the header itself: buffersWritten, startBuffers, pointerSize and
    // endTime. It adds the events that it loses to eventsLost. The log is circular if logFileMode contains
    // EVENT_TRACE_FILE_MODE_CIRCULAR and there is a maximumFileSize. The buffer size is a multiple of 1024,
    // from 1024 to 16 MB. A circular log has at least two buffers, however low its limit.
    EtlWriter(EtlSink& sink, EtlLogHeader logHeader);

    // Writes the log header event with this time, process and thread. Call it first, and once.
    bool Begin(std::int64_t time, std::uint32_t processId, std::uint32_t threadId);

    // Adds one event. An event whose name is too long for a buffer is lost and counted. False after the sink
    // has failed; nothing more is written then.
    bool Write(const EtlRegistryEvent& event);
    bool Write(const EtlProcessStart& start);

    // Writes the last events and the final log header, with the end in system time. False if the sink failed
    // now or earlier.
    bool Finish(std::int64_t endTime);

    std::uint32_t EventsLost() const { return header.eventsLost; }

private:
    struct Origin {
        std::int64_t time = 0;
        std::uint32_t processId = 0;
        std::uint32_t threadId = 0;
    };

    bool IsCircular() const;
    std::uint64_t PlaceOf(std::uint64_t number) const;
    void StartBuffer();
    std::span<std::byte> BeginEvent(const Origin& origin, std::uint16_t hookId, std::size_t payloadSize);
    std::span<std::byte> BeginRecord(const Origin& origin, std::uint16_t hookId, std::size_t payloadSize);
    bool Flush(std::uint16_t type, std::uint16_t flags, std::int64_t time);
    bool FlushEvents(std::uint16_t flags);
    bool WriteHeaderBuffer();

    EtlSink& sink;
    EtlLogHeader header;
    Origin beginning;                // of the log header event
    std::vector<std::byte> buffer;   // the one being filled
    std::size_t used = 0;            // bytes of it
    std::uint64_t bufferNumber = 0;  // in the order of flushing
    std::int64_t lastTime = 0;       // of the last event
    std::uint32_t lostInBuffers = 0; // events whose loss a buffer that is written has marked
    bool failed = false;
};

} // namespace keyreap
