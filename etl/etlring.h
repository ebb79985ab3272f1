#pragma once

#include <cstddef>
#include <cstdint>

namespace keyreap {

class EtlSource;

// The buffer with the oldest events among those from `first` up to, but not including, `end`, which a
// circular log overwrites in turn: where the sequence numbers decrease, or `first` if they never do. Reads
// only a few buffer headers; a damaged one counts as its successor.
std::uint64_t OldestBuffer(EtlSource& source, std::size_t bufferSize, std::uint64_t first, std::uint64_t end);

} // namespace keyreap
