#pragma once

#include "etl/etlevent.h"
#include "etl/etlsink.h"
#include "etl/etlsource.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace keyreap {

using Bytes = std::vector<std::byte>;

// A log in memory. Writing beyond its end fails the test. Writing fails after `failFrom` calls.
class MemorySink : public EtlSink {
public:
    bool Write(std::uint64_t offset, std::span<const std::byte> from) override;

    Bytes bytes;
    std::size_t calls = 0;
    std::size_t failFrom = SIZE_MAX;
};

// Gives a log's bytes. Reading beyond them fails the test. Reading fails after `failFrom` calls.
class MemorySource : public EtlSource {
public:
    explicit MemorySource(std::span<const std::byte> content) : bytes(content) {}

    std::uint64_t Size() const override { return bytes.size(); }
    bool Read(std::uint64_t offset, std::span<std::byte> to) override;

    std::size_t calls = 0;
    std::size_t failFrom = SIZE_MAX;

private:
    std::span<const std::byte> bytes;
};

// Keeps a copy of each event with its payload. Ends the reading after `stopAfter` buffers.
class RecordingListener : public EtlListener {
public:
    struct Event : EtlEvent {
        explicit Event(const EtlEvent& event)
            : EtlEvent(event), bytes(event.payload.begin(), event.payload.end()) {}
        Bytes bytes;
    };

    void OnEvent(const EtlEvent& event) override { events.emplace_back(event); }
    bool OnBuffer() override { return ++buffers < stopAfter; }

    std::vector<Event> events;
    std::size_t buffers = 0;
    std::size_t stopAfter = SIZE_MAX;
};

// Reads a log that must open and be read to its end.
RecordingListener ReadAll(std::span<const std::byte> log);

// The process ids of a log's events after the log header: tests number events by them.
std::vector<std::uint32_t> ProcessIds(const RecordingListener& listener);

} // namespace keyreap
