#pragma once

#include <cstddef>
#include <cstdint>

namespace keyreap {

class EtlSource;

// Of the buffers from `first` to before `end`, which a circular log writes over and over, the one with the
// oldest events: where the sequence numbers fall back, or `first` if they never do. Looks at a few buffer
// headers only; one that is damaged counts as its successor.
std::uint64_t OldestBuffer(EtlSource& source, std::size_t bufferSize, std::uint64_t first, std::uint64_t end);

} // namespace keyreap
