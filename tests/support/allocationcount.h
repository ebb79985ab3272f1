#pragma once

#include <cstddef>

namespace keyreap {

// The number of calls of operator new so far. A program that links this file counts all its allocations.
std::size_t AllocationCount();

// The number of allocations that are not freed yet.
std::size_t LiveAllocationCount();

} // namespace keyreap
