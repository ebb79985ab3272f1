#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace keyreap {

// The destination of a log's bytes.
class EtlSink {
public:
    virtual ~EtlSink() = default;

    // Writes the bytes at the end of what was written so far, or over it. False if not all of them could be
    // written.
    virtual bool Write(std::uint64_t offset, std::span<const std::byte> bytes) = 0;
};

} // namespace keyreap
