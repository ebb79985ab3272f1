#pragma once

#include "etl/etlevent.h"
#include "etl/etllogheader.h"
#include "etl/etlsource.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace keyreap {

// What the last reading of a log came across.
struct EtlStatistics {
    std::uint64_t buffers = 0;        // that were looked at, damaged ones included
    std::uint64_t damagedBuffers = 0; // passed over, whole or from a damaged record on
    std::uint64_t events = 0;
};

// Reads an event trace log buffer by buffer, holding about a megabyte of it. Events come in the order in
// which they stand in the file; of a circular log that has come round, the oldest buffer that is left follows
// those at the start. A short last buffer is passed over, and so is a damaged one, from the damaged place on.
// No byte outside the source is asked for.
class EtlReader {
public:
    explicit EtlReader(EtlSource& origin);

    // Reads the head. False if this is no log: its first buffer is not whole, or does not begin with a log
    // header event.
    bool Open();

    // Hands every event to the listener, the log header event first. Needs a log that opened; may be called
    // again. False if the source failed on the way.
    bool Process(EtlListener& listener);

    const EtlLogHeader& Header() const { return header; }
    const EtlStatistics& Statistics() const { return statistics; }

private:
    enum class Step { goOn, stop, failed };

    bool ReadFirstBuffer();
    bool TakeLogHeader();
    Step ProcessRange(std::uint64_t first, std::uint64_t end, EtlListener& listener);
    bool ProcessBuffer(std::span<const std::byte> buffer, EtlListener& listener);
    bool DeliverRecords(std::span<const std::byte> records, EtlListener& listener);

    EtlSource& source;
    EtlLogHeader header;
    EtlStatistics statistics;
    std::uint64_t bufferCount = 0; // whole ones in the file
    std::size_t bufferSize = 0;
    std::vector<std::byte> chunk; // some buffers
};

} // namespace keyreap
