#pragma once

#include "etl/etlevent.h"
#include "etl/etllogheader.h"
#include "etl/etlsource.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace keyreap {

// Counts of the last reading of a log.
struct EtlStatistics {
    std::uint64_t buffers = 0;        // that were read, damaged ones included
    std::uint64_t damagedBuffers = 0; // skipped, entirely or from a damaged record on
    std::uint64_t events = 0;
};

// Reads an event trace log buffer by buffer, about 256 KB at a time. Events come in file order. In a
// circular log that has wrapped around, the oldest remaining buffer follows the buffers that are kept at the
// start. A short last buffer is skipped, and so is the rest of a damaged buffer. No byte outside of the
// source is read.
class EtlReader {
public:
    explicit EtlReader(EtlSource& source);

    // Reads the log header. False if this is no log: its first buffer is incomplete, or does not begin with a
    // log header event.
    bool Open();

    // Delivers every event to the listener, the log header event first. Needs a successful Open; may be
    // called again. False if the source failed.
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
    std::uint64_t bufferCount = 0; // complete ones in the file
    std::size_t bufferSize = 0;
    std::vector<std::byte> chunk; // a few buffers
};

} // namespace keyreap
