#pragma once

#include "regmodel/regsource.h"

#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

// Hexadecimal digits of either case, and bytes as pairs of them.
namespace keyreap {

struct HexDigits {
    std::uint32_t value = 0;
    std::size_t end = 0; // the place itself if there is no digit
};

// At most `most` digits, which is up to 8.
HexDigits ReadHexDigits(const RegSource& source, std::size_t at, std::size_t most);

struct HexPairs {
    std::vector<std::uint8_t> bytes;
    std::vector<std::size_t> pairsOfLines; // as many as there are lines
    std::size_t end = 0;
};

// The bytes after a hex form's colon, separated by commas. A byte may have a single digit. A backslash at a
// line's end continues the line.
std::variant<HexPairs, RegFault> ReadHexPairs(const RegSource& source, std::size_t at);

} // namespace keyreap
