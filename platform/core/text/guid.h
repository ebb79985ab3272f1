#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace keyreap {

// A GUID with the published layout of the platform's own (guiddef.h), for code that doesn't know Windows.
struct Guid {
    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::array<std::uint8_t, 8> data4{};

    // Compared as memory, which takes two steps, because the readers of a log compare the GUID of every
    // event.
    friend constexpr bool operator==(const Guid& left, const Guid& right) {
        if (std::is_constant_evaluated()) {
            return (left <=> right) == 0;
        }
        return std::memcmp(&left, &right, sizeof(Guid)) == 0;
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
