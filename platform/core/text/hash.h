#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace keyreap {

// 64-bit FNV-1a (offset basis and prime as published by its authors), the hash of every map of the trace
// rooms.
class Fnv1a {
public:
    constexpr void AddByte(std::uint8_t byte) { state = (state ^ byte) * 0x100000001B3ULL; }

    // The text's UTF-16 units, low byte first.
    constexpr void AddText(std::wstring_view text) {
        for (const wchar_t unit : text) {
            AddByte(static_cast<std::uint8_t>(unit & 0xFF));
            AddByte(static_cast<std::uint8_t>((unit >> 8) & 0xFF));
        }
    }

    // The value's bytes, low byte first.
    template <typename Integer>
    constexpr void AddInteger(Integer value) {
        AddBytes(value, std::make_index_sequence<sizeof(Integer)>());
    }

    constexpr std::uint64_t Value() const { return state; }

private:
    // Unrolled: it runs for the handle of nearly every event.
    template <typename Integer, std::size_t... numbers>
    constexpr void AddBytes(Integer value, std::index_sequence<numbers...>) {
        (AddByte(static_cast<std::uint8_t>((value >> (8 * numbers)) & 0xFF)), ...);
    }

    std::uint64_t state = 0xCBF29CE484222325ULL;
};

// The hash functor of those maps: hashes an integer's bytes or a text's units.
struct Fnv1aHash {
    using is_transparent = void; // lets a map with std::equal_to<> look up a view without making a string

    constexpr std::size_t operator()(std::integral auto value) const {
        Fnv1a hash;
        hash.AddInteger(value);
        return static_cast<std::size_t>(hash.Value());
    }

    constexpr std::size_t operator()(std::wstring_view text) const {
        Fnv1a hash;
        hash.AddText(text);
        return static_cast<std::size_t>(hash.Value());
    }
};

} // namespace keyreap
