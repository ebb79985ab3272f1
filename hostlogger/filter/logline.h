#pragma once

#include <cstddef>
#include <string_view>

namespace keyreap {

// Of a longer line of the server's log only the first maximumLineLength bytes count.
inline constexpr std::size_t maximumLineLength = 1 << 20;

inline bool IsHexDigit(char letter) {
    return (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'f');
}

// What follows the id of the thread or process; empty for a line without one.
inline std::string_view AfterThread(std::string_view line) {
    std::size_t end = 0;
    while (end < line.size() && IsHexDigit(line[end])) {
        ++end;
    }
    const bool isThread = end != 0 && line.substr(end, 2) == ": ";
    return isThread ? line.substr(end + 2) : std::string_view{};
}

} // namespace keyreap
