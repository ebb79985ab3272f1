#pragma once

#include "platform/os/littleendian.h"

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

namespace keyreap {

// Writes the UTF-16 units of a text at an offset, without a NUL. All must be inside the bytes.
void StoreUnits(std::span<std::byte> bytes, std::size_t offset, std::wstring_view text);

// Bounds-checked access to an event's bytes.
class Payload {
public:
    explicit Payload(std::span<const std::byte> content) : bytes(content) {}

    std::size_t Size() const { return bytes.size(); }

    // Whether `size` bytes from the offset on are within the payload.
    bool Holds(std::size_t offset, std::size_t size) const {
        return offset <= bytes.size() && size <= bytes.size() - offset;
    }

    // The little-endian number at the offset, or 0 if it isn't entirely within the payload.
    template <std::integral Integer>
    Integer Number(std::size_t offset) const {
        return Holds(offset, sizeof(Integer)) ? LoadNumber<Integer>(bytes, offset) : Integer{0};
    }

    // The same for a size of 1 to 8 bytes, zero-extended.
    std::uint64_t NumberOf(std::size_t offset, std::size_t size) const;

    // A run of text: its units up to the first NUL, the limit, or the end of the bytes.
    struct WideRun {
        std::wstring text;
        bool terminated = false; // by a NUL inside both the limit and the bytes
    };
    WideRun WideText(std::size_t offset, std::size_t limit = SIZE_MAX) const;

    // The same for narrow text.
    struct NarrowRun {
        std::string text;
        bool terminated = false;
    };
    NarrowRun NarrowText(std::size_t offset) const;

    // The bytes of the UTF-16 units up to their NUL; none if there is no NUL inside the payload.
    std::span<const std::byte> TerminatedUnits(std::size_t offset) const;

    // Replaces a text by such units. Its memory is used again.
    static void TakeUnits(std::span<const std::byte> units, std::wstring& text);

    // The `size` bytes from the offset on, which must be within the payload.
    std::string Bytes(std::size_t offset, std::size_t size) const;

private:
    std::span<const std::byte> From(std::size_t offset) const {
        return bytes.subspan(std::min(offset, bytes.size()));
    }

    std::span<const std::byte> bytes;
};

} // namespace keyreap
