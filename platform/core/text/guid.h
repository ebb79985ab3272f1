#pragma once

#include <array>
#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace keyreap {

// A GUID with the published layout of the platform's own (guiddef.h), for code that doesn't know Windows.
struct Guid {
    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::array<std::uint8_t, 8> data4{};

    // Compared as two numbers, because the readers of a log compare the GUID of every event.
    friend constexpr bool operator==(const Guid& left, const Guid& right) {
        using Halves = std::array<std::uint64_t, 2>;
        const auto ofLeft = std::bit_cast<Halves>(left);
        const auto ofRight = std::bit_cast<Halves>(right);
        return ((ofLeft[0] ^ ofRight[0]) | (ofLeft[1] ^ ofRight[1])) == 0;
    }
    friend constexpr auto operator<=>(const Guid&, const Guid&) = default;
};

// 64-bit FNV-1a over the 16 bytes in memory order, cut to size_t: the hash of maps by Guid.
struct GuidHash {
    std::size_t operator()(const Guid& guid) const;
};

// The GUID of a text such as "{01234567-89AB-CDEF-0123-456789ABCDEF}", with or without the braces. Never
// fails: groups are read at fixed places, each up to its first character that isn't a hexadecimal digit.
// Missing digits count as 0. A leading "-" of one of the first three groups negates its value.
Guid ParseGuid(std::wstring_view text);

} // namespace keyreap
