#pragma once

#include "etl/etllogheader.h"
#include "etl/etlsink.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace keyreap {

// One registry operation, as the kernel logger tells it.
struct EtlRegistryEvent {
    std::uint8_t type = 0; // EVENT_TRACE_TYPE_REGCREATE and its neighbours (evntrace.h)
    std::int64_t time = 0; // in the log's clock, as initialTime
    std::uint32_t processId = 0;
    std::uint32_t threadId = 0;
    std::int64_t initialTime = 0; // when the operation began
    std::uint32_t status = 0;     // NTSTATUS
    std::uint32_t index = 0;
    std::uint64_t keyHandle = 0; // address of a key control block; 0 with a complete name
    std::wstring_view keyName;
};

// Writes an event trace log: a row of buffers of one size, the log header alone in the first, then registry
// events of version 2 in system headers, 64 bit, in the order of the calls. A circular log stays below its
// ceiling by letting whole buffers of the oldest events go; the first is kept. Memory is one buffer.
class EtlWriter {
public:
    // Of the header these fields are the writer's own: buffersWritten, startBuffers, pointerSize, eventsLost
    // and endTime. The log is circular if logFileMode says EVENT_TRACE_FILE_MODE_CIRCULAR and there is a
    // maximumFileSize. The buffer size is a multiple of 1024, from 1024 to 16 MB; at least two buffers are
    // kept, however low the ceiling.
    EtlWriter(EtlSink& destination, EtlLogHeader logHeader);

    // Writes the log header event, told as this thread's at this time. Call it first, and once.
    bool Begin(std::int64_t time, std::uint32_t processId, std::uint32_t threadId);

    // Adds one event. One whose name leaves it no place in a buffer is lost and counted. False once the sink
    // has failed; nothing is written from then on.
    bool Write(const EtlRegistryEvent& event);

    // Writes what is left and the final log header with the end in system time. False if the sink has failed
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
    std::span<std::byte> BeginRecord(const Origin& origin, std::uint16_t hookId, std::size_t payloadSize);
    bool Flush(std::uint16_t type, std::uint16_t flags, std::int64_t time);
    bool FlushEvents(std::uint16_t flags);
    bool WriteHeaderBuffer();

    EtlSink& sink;
    EtlLogHeader header;
    Origin beginning;               // of the log header event
    std::vector<std::byte> buffer;  // the one being filled
    std::size_t used = 0;           // bytes of it
    std::uint64_t bufferNumber = 0; // its place in the order of flushing
    std::int64_t lastTime = 0;      // of the last event
    bool failed = false;
};

} // namespace keyreap
