#include "etl/etlring.h"

#include "etl/etllayout.h"
#include "etl/etlsource.h"
#include "platform/os/littleendian.h"

#include <array>
#include <optional>

namespace keyreap {

namespace {

using SequenceNumber = std::optional<std::int64_t>;

class BufferHeaders {
public:
    BufferHeaders(EtlSource& source, std::size_t bufferSize) : source(source), bufferSize(bufferSize) {}

    // The number of one buffer, unless its header is damaged.
    SequenceNumber At(std::uint64_t index) {
        std::array<std::byte, etl::buffer::headerSize> header;
        if (!source.Read(index * bufferSize, header) ||
            LoadNumber<std::uint32_t>(header, etl::buffer::bufferSize) != bufferSize) {
            return std::nullopt;
        }
        return LoadNumber<std::int64_t>(header, etl::buffer::sequenceNumber);
    }

    // The number of the first buffer in a range that has one.
    SequenceNumber First(std::uint64_t first, std::uint64_t end) {
        for (; first < end; ++first) {
            if (const SequenceNumber number = At(first)) {
                return number;
            }
        }
        return std::nullopt;
    }

    // The number of the last one.
    SequenceNumber Last(std::uint64_t first, std::uint64_t end) {
        for (; first < end; --end) {
            if (const SequenceNumber number = At(end - 1)) {
                return number;
            }
        }
        return std::nullopt;
    }

private:
    EtlSource& source;
    std::size_t bufferSize;
};

} // namespace

std::uint64_t OldestBuffer(EtlSource& source, std::size_t bufferSize, std::uint64_t first,
                           std::uint64_t end) {
    BufferHeaders headers(source, bufferSize);
    const SequenceNumber ofFirst = headers.First(first, end);
    const SequenceNumber ofLast = headers.Last(first, end);
    if (!ofFirst || !ofLast || *ofFirst <= *ofLast) {
        return first;
    }
    // The front is from the last round, the rest from the round before it. A binary search finds the border.
    // Processors flush in parallel, so that neighbours may be slightly out of order; across the border
    // numbers differ by a whole round.
    std::uint64_t low = first;
    std::uint64_t high = end;
    while (low < high) {
        const std::uint64_t middle = low + (high - low) / 2;
        const SequenceNumber number = headers.First(middle, end);
        if (number && *number >= *ofFirst) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

} // namespace keyreap
