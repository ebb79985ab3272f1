#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace keyreap {

// Where a log's bytes come from.
class EtlSource {
public:
    virtual ~EtlSource() = default;

    // Bytes in the whole log.
    virtual std::uint64_t Size() const = 0;

    // Fills the whole span with the bytes from there on, which lie below Size(). False if that fails.
    virtual bool Read(std::uint64_t offset, std::span<std::byte> bytes) = 0;
};

} // namespace keyreap
