#pragma once

#include <cstddef>

namespace keyreap {

// An offset or a size that the system's headers fix, as it is in 64 bits and in 32 bits.
consteval std::size_t Published(std::size_t in64Bits, std::size_t in32Bits) {
    return sizeof(void*) == 8 ? in64Bits : in32Bits;
}

} // namespace keyreap
