#pragma once

#include <cstddef>

namespace keyreap {

// How often the program has asked operator new for memory so far. Linking this counts in the whole program.
std::size_t AllocationCount();

} // namespace keyreap
