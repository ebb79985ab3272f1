#pragma once

#include <cstddef>

namespace keyreap {

// How often the program has asked operator new for memory so far. Linking this counts in the whole program.
std::size_t AllocationCount();

// How many of these pieces of memory it has now.
std::size_t LiveAllocationCount();

} // namespace keyreap
