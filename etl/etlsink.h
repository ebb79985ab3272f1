#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace keyreap {

// Where a log's bytes go.
class EtlSink {
public:
    virtual ~EtlSink() = default;

    // Puts the bytes there: at the end of what was written so far, or over it. False if not all of them could
    // be written.
    virtual bool Write(std::uint64_t offset, std::span<const std::byte> bytes) = 0;
};

} // namespace keyreap
