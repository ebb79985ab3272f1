#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <span>

namespace keyreap {

static_assert(std::endian::native == std::endian::little, "numbers are copied as they are in files");

// The little-endian number at an offset, all of whose bytes must be inside. It may be unaligned.
template <std::integral Integer>
Integer LoadNumber(std::span<const std::byte> bytes, std::size_t offset) {
    Integer number;
    std::memcpy(&number, bytes.data() + offset, sizeof(number));
    return number;
}

// Writes a number there, under the same conditions.
template <std::integral Integer>
void StoreNumber(std::span<std::byte> bytes, std::size_t offset, Integer number) {
    std::memcpy(bytes.data() + offset, &number, sizeof(number));
}

} // namespace keyreap
