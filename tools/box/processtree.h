#pragma once

#include <cstdint>
#include <string>

namespace keyreap {

// What a process and all its descendants use.
struct TreeUse {
    std::uint64_t threads = 0;
    std::uint64_t memory = 0; // bytes that are no file's; what they share counts for each
};

// Reads from `processes`, a folder like /proc. A process that ends meanwhile counts as far as it was read.
// Stops when `threadCeiling` is passed, if that isn't 0.
TreeUse UseOfTree(const std::string& processes, int first, std::uint64_t threadCeiling);

} // namespace keyreap
