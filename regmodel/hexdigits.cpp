#include "regmodel/hexdigits.h"

#include <optional>

namespace keyreap {

namespace {

std::optional<std::uint32_t> DigitValue(wchar_t unit) {
    if (unit >= L'0' && unit <= L'9') {
        return static_cast<std::uint32_t>(unit - L'0');
    }
    if (unit >= L'a' && unit <= L'f') {
        return static_cast<std::uint32_t>(unit - L'a') + 10;
    }
    if (unit >= L'A' && unit <= L'F') {
        return static_cast<std::uint32_t>(unit - L'A') + 10;
    }
    return std::nullopt;
}

// The first place after the blanks and after the ends of continued lines. Each of the latter begins a line.
std::size_t AfterContinuations(const RegSource& source, std::size_t at, HexPairs& pairs) {
    at = AfterBlanks(source, at);
    while (IsAt(source, at, L"\\")) {
        const std::optional<std::size_t> next = AfterRestOfLine(source, at + 1);
        if (!next) {
            return at;
        }
        pairs.pairsOfLines.push_back(0);
        at = AfterBlanks(source, *next);
    }
    return at;
}

} // namespace

HexDigits ReadHexDigits(const RegSource& source, std::size_t at, std::size_t most) {
    HexDigits digits{0, at};
    while (digits.end < source.text.size() && digits.end - at < most) {
        const std::optional<std::uint32_t> digit = DigitValue(source.text[digits.end]);
        if (!digit) {
            break;
        }
        digits.value = digits.value << 4 | *digit;
        ++digits.end;
    }
    return digits;
}

std::variant<HexPairs, RegFault> ReadHexPairs(const RegSource& source, std::size_t at) {
    HexPairs pairs;
    pairs.pairsOfLines.push_back(0);
    pairs.end = AfterContinuations(source, at, pairs);
    if (AfterRestOfLine(source, pairs.end)) {
        return pairs;
    }
    for (;;) {
        const HexDigits byte = ReadHexDigits(source, pairs.end, 2);
        if (byte.end == pairs.end) {
            return RegFault{byte.end, L"a byte of one or two hexadecimal digits"};
        }
        pairs.bytes.push_back(static_cast<std::uint8_t>(byte.value));
        ++pairs.pairsOfLines.back();
        pairs.end = byte.end;
        const std::size_t comma = AfterBlanks(source, byte.end);
        if (!IsAt(source, comma, L",")) {
            return pairs;
        }
        pairs.end = AfterContinuations(source, comma + 1, pairs);
    }
}

} // namespace keyreap
