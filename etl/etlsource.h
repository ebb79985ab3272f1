#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace keyreap {

// The source of a log's bytes.
class EtlSource {
public:
    virtual ~EtlSource() = default;

    // Bytes in the whole log.
    virtual std::uint64_t Size() const = 0;

    // Fills the span with the bytes from the offset on, all of which are below Size(). False if that fails.
    virtual bool Read(std::uint64_t offset, std::span<std::byte> bytes) = 0;
};

} // namespace keyreap
