#pragma once

#include "platform/core/text/guid.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace keyreap {

// One event of a log. The payload belongs to the reader and is valid only during the call that delivers it.
struct EtlEvent {
    Guid guid;                    // class of a classic or kernel event, provider of a manifest event
    std::uint16_t id = 0;         // of a manifest event
    std::uint8_t type = 0;        // event type or opcode
    std::uint8_t level = 0;       // none in kernel events
    std::uint16_t version = 0;    // of the event
    std::uint8_t pointerSize = 0; // of its header: 4 or 8
    std::uint32_t threadId = 0;   // 0xFFFFFFFF where the header has none; the same for the process
    std::uint32_t processId = 0;
    std::int64_t timeStamp = 0; // in the log's clock
    std::span<const std::byte> payload;
};

// Receives the events of a log.
class EtlListener {
public:
    virtual ~EtlListener() = default;

    virtual void OnEvent(const EtlEvent& event) = 0;

    // Called after each buffer; false ends the reading.
    virtual bool OnBuffer() { return true; }
};

} // namespace keyreap
