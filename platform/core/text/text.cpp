#include "platform/core/text/text.h"

#include <optional>

namespace keyreap {

namespace {

constexpr wchar_t hexDigits[] = L"0123456789abcdef";

std::optional<std::uint32_t> DigitValue(wchar_t unit, std::uint32_t base) {
    std::uint32_t value = base;
    if (unit >= L'0' && unit <= L'9') {
        value = static_cast<std::uint32_t>(unit - L'0');
    } else if (unit >= L'a' && unit <= L'f') {
        value = static_cast<std::uint32_t>(unit - L'a') + 10;
    } else if (unit >= L'A' && unit <= L'F') {
        value = static_cast<std::uint32_t>(unit - L'A') + 10;
    }
    return value < base ? std::optional(value) : std::nullopt;
}

std::uint32_t ReadNumber(std::wstring_view text, std::uint32_t base, std::size_t maximumDigits) {
    const bool isNegative = text.starts_with(L'-');
    std::uint32_t number = 0;
    for (const wchar_t unit : text.substr(isNegative ? 1 : 0).substr(0, maximumDigits)) {
        const std::optional<std::uint32_t> digit = DigitValue(unit, base);
        if (!digit) {
            break;
        }
        number = number * base + *digit;
    }
    return isNegative ? 0 - number : number;
}

} // namespace

std::vector<std::wstring> SplitText(std::wstring_view text, std::wstring_view delimiter, bool dropEmpty) {
    std::vector<std::wstring> pieces;
    if (text.empty()) {
        return pieces;
    }
    const auto add = [&](std::wstring_view piece) {
        if (!piece.empty() || !dropEmpty) {
            pieces.emplace_back(piece);
        }
    };
    std::size_t start = 0;
    std::size_t found = 0;
    while (!delimiter.empty() && (found = text.find(delimiter, start)) != std::wstring_view::npos) {
        add(text.substr(start, found - start));
        start = found + delimiter.size();
    }
    add(text.substr(start));
    return pieces;
}

std::wstring TrimRight(std::wstring_view text, std::wstring_view set) {
    return std::wstring(text.substr(0, text.find_last_not_of(set) + 1));
}

std::wstring TrimLeft(std::wstring_view text, std::wstring_view set) {
    const std::size_t start = text.find_first_not_of(set);
    return start == std::wstring_view::npos ? std::wstring() : std::wstring(text.substr(start));
}

void TrimTrailingSpaces(std::wstring& text) {
    text.erase(text.find_last_not_of(L' ') + 1);
}

std::wstring FirstLine(std::wstring_view text) {
    return std::wstring(text.substr(0, text.find_first_of(L"\r\n")));
}

std::wstring WidenBytes(std::string_view bytes) {
    std::wstring wide;
    wide.reserve(bytes.size());
    for (const char byte : bytes) {
        wide.push_back(static_cast<wchar_t>(static_cast<std::uint16_t>(static_cast<signed char>(byte))));
    }
    return wide;
}

std::wstring HexToText(std::uint64_t value, std::size_t minimumDigits) {
    std::wstring digits;
    for (; value != 0 || digits.empty(); value >>= 4) {
        digits.insert(digits.begin(), hexDigits[value & 0xF]);
    }
    return digits.size() < minimumDigits ? std::wstring(minimumDigits - digits.size(), L'0') + digits
                                         : digits;
}

void AppendHexByte(std::wstring& text, unsigned byte) {
    text += hexDigits[(byte >> 4) & 0xF];
    text += hexDigits[byte & 0xF];
}

std::int32_t TextToInteger(std::wstring_view text) {
    return static_cast<std::int32_t>(ReadNumber(text, 10, std::wstring_view::npos));
}

std::uint32_t HexTextToInteger(std::wstring_view text, std::size_t maximumDigits) {
    return ReadNumber(text, 16, maximumDigits);
}

} // namespace keyreap
