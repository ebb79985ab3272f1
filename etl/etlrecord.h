#pragma once

#include "etl/etlevent.h"

#include <cstddef>
#include <span>

namespace keyreap {

// What is at a place of a buffer where a record may begin.
enum class EtlRecordKind {
    event,
    skipped, // a record that is no event (a trace message, for example), or whose inside is damaged
    end,     // no further record in this buffer
    damaged, // where the next record begins is unknown
};

struct EtlRecord {
    EtlRecordKind kind = EtlRecordKind::end;
    std::size_t size = 0; // of an event or a skipped record: at least 8, and within the bytes
};

// Reads the record at the beginning of the bytes, which end where the buffer's records end. Fills in the
// event if the record is one. Allocates nothing.
EtlRecord ReadEtlRecord(std::span<const std::byte> bytes, EtlEvent& event);

} // namespace keyreap
