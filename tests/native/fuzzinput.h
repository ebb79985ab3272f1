#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

namespace keyreap::fuzz {

// The bytes of a fuzzer, taken from the front. After their end everything is 0.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : bytes(data, size) {}

    bool IsEmpty() const { return bytes.empty(); }

    std::uint8_t Byte() {
        if (bytes.empty()) {
            return 0;
        }
        const std::uint8_t byte = bytes.front();
        bytes = bytes.subspan(1);
        return byte;
    }

    wchar_t Unit() {
        const int low = Byte();
        return static_cast<wchar_t>(low | (Byte() << 8));
    }

    // `size` bytes, or all that are left.
    std::span<const std::byte> Take(std::size_t size) {
        const auto taken = bytes.first(std::min(size, bytes.size()));
        bytes = bytes.subspan(taken.size());
        return std::as_bytes(taken);
    }

    // All that is left.
    std::span<const std::byte> TakeRest() { return Take(bytes.size()); }

    // All that is left, as UTF-16 units.
    std::wstring Rest() {
        std::wstring text;
        while (!bytes.empty()) {
            text += Unit();
        }
        return text;
    }

private:
    std::span<const std::uint8_t> bytes;
};

// Ends the fuzzer on a broken rule, so that it keeps the input.
inline void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// A line of a request log: one of the templates, in which % becomes a digit of a handle and @ one of the
// names.
inline std::string FilledLine(Input& input, std::span<const std::string_view> templates,
                              std::span<const std::string_view> names) {
    std::string line;
    for (const char letter : templates[input.Byte() % templates.size()]) {
        if (letter == '%') {
            line += "0248"[input.Byte() % 4];
        } else if (letter == '@') {
            line += names[input.Byte() % names.size()];
        } else {
            line += letter;
        }
    }
    return line;
}

} // namespace keyreap::fuzz
