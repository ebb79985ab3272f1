#pragma once

#include "etl/etlevent.h"

#include <cstddef>
#include <span>

namespace keyreap {

// What stands at a place of a buffer where a record may begin.
enum class EtlRecordKind {
    event,
    passedOver, // a record of another kind (a trace message, for example), or one with a damaged inside
    end,        // no further record in this buffer
    damaged,    // nothing that tells where a next record would be
};

struct EtlRecord {
    EtlRecordKind kind = EtlRecordKind::end;
    std::size_t size = 0; // of an event or a record passed over: at least 8, and inside the bytes
};

// Looks at the record at the head of the bytes, which end where the buffer's records end. Fills in the event
// if it is one. Allocates nothing.
EtlRecord ReadEtlRecord(std::span<const std::byte> bytes, EtlEvent& event);

} // namespace keyreap
