#include "platform/core/text/utf8.h"

#include <cstddef>
#include <cstdint>

namespace keyreap {

namespace {

constexpr std::uint32_t firstOfTwoUnits = 0x10000;
constexpr std::uint32_t lastCharacter = 0x10FFFF;
constexpr std::uint32_t replacement = 0xFFFD;
constexpr std::size_t escapeDigits = 4;

bool IsHighSurrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// The character at a place, which moves after it; none for a lone surrogate.
std::optional<std::uint32_t> NextCharacter(std::wstring_view units, std::size_t& at) {
    const auto unit = static_cast<std::uint32_t>(units[at++]) & 0xFFFF;
    if (!IsHighSurrogate(unit) && !IsLowSurrogate(unit)) {
        return unit;
    }
    const std::uint32_t low = at < units.size() ? static_cast<std::uint32_t>(units[at]) & 0xFFFF : 0;
    if (!IsHighSurrogate(unit) || !IsLowSurrogate(low)) {
        return std::nullopt;
    }
    ++at;
    return firstOfTwoUnits + ((unit - 0xD800) << 10) + (low - 0xDC00);
}

void AppendCharacter(std::string& bytes, std::uint32_t character) {
    const auto append = [&bytes](std::uint32_t byte) { bytes += static_cast<char>(byte); };
    if (character < 0x80) {
        append(character);
        return;
    }
    const int following = character < 0x800 ? 1 : (character < firstOfTwoUnits ? 2 : 3);
    const std::uint32_t mark = following == 1 ? 0xC0 : (following == 2 ? 0xE0 : 0xF0);
    append(mark | (character >> (6 * following)));
    for (int left = following - 1; left >= 0; --left) {
        append(0x80 | ((character >> (6 * left)) & 0x3F));
    }
}

void AppendUnits(std::wstring& units, std::uint32_t character) {
    if (character < firstOfTwoUnits) {
        units += static_cast<wchar_t>(character);
        return;
    }
    units += static_cast<wchar_t>(0xD800 + ((character - firstOfTwoUnits) >> 10));
    units += static_cast<wchar_t>(0xDC00 + ((character - firstOfTwoUnits) & 0x3FF));
}

// The number of bytes after the first one; none for a byte that begins nothing.
std::optional<std::size_t> FollowingBytes(std::uint32_t first) {
    if (first < 0x80) {
        return 0;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return 1;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        return 2;
    }
    return first >= 0xF0 && first <= 0xF4 ? std::optional<std::size_t>(3) : std::nullopt;
}

bool IsWholeCharacter(std::uint32_t character, std::size_t following) {
    constexpr std::uint32_t lowest[] = {0, 0x80, 0x800, firstOfTwoUnits};
    return character >= lowest[following] && character <= lastCharacter && !IsHighSurrogate(character) &&
           !IsLowSurrogate(character);
}

// The character whose bytes begin at a place, which moves after them.
std::optional<std::uint32_t> DecodedCharacter(std::string_view bytes, std::size_t& at) {
    const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(bytes[index]); };
    const std::uint32_t first = byteAt(at++);
    const std::optional<std::size_t> following = FollowingBytes(first);
    if (!following || *following > bytes.size() - at) {
        return std::nullopt;
    }
    std::uint32_t character = *following == 0 ? first : first & (0x3FU >> *following);
    for (std::size_t i = 0; i < *following; ++i, ++at) {
        if ((byteAt(at) & 0xC0U) != 0x80) {
            return std::nullopt;
        }
        character = (character << 6) | (byteAt(at) & 0x3FU);
    }
    return IsWholeCharacter(character, *following) ? std::optional(character) : std::nullopt;
}

void AppendEscape(std::string& bytes, std::uint32_t unit) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    AppendCharacter(bytes, replacement);
    for (int shift = 12; shift >= 0; shift -= 4) {
        bytes += digits[(unit >> shift) & 0xF];
    }
}

// The unit whose digits these are; none if they aren't those of an escape.
std::optional<wchar_t> EscapedUnit(std::wstring_view digits) {
    std::uint32_t unit = 0;
    for (const wchar_t digit : digits) {
        const bool isLetter = digit >= L'A' && digit <= L'F';
        if (!isLetter && (digit < L'0' || digit > L'9')) {
            return std::nullopt;
        }
        unit = unit << 4 | static_cast<std::uint32_t>(isLetter ? digit - L'A' + 10 : digit - L'0');
    }
    const bool isEscaped = IsHighSurrogate(unit) || IsLowSurrogate(unit) || unit == replacement;
    return isEscaped && digits.size() == escapeDigits ? std::optional(static_cast<wchar_t>(unit))
                                                      : std::nullopt;
}

} // namespace

std::optional<std::string> Utf8OfUnits(std::wstring_view units) {
    std::string bytes;
    for (std::size_t at = 0; at < units.size();) {
        const std::optional<std::uint32_t> character = NextCharacter(units, at);
        if (!character) {
            return std::nullopt;
        }
        AppendCharacter(bytes, *character);
    }
    return bytes;
}

std::string ReadableUtf8(std::wstring_view units) {
    std::string bytes;
    for (std::size_t at = 0; at < units.size();) {
        AppendCharacter(bytes, NextCharacter(units, at).value_or(replacement));
    }
    return bytes;
}

std::optional<std::wstring> UnitsOfUtf8(std::string_view bytes) {
    std::wstring units;
    for (std::size_t at = 0; at < bytes.size();) {
        const std::optional<std::uint32_t> character = DecodedCharacter(bytes, at);
        if (!character) {
            return std::nullopt;
        }
        AppendUnits(units, *character);
    }
    return units;
}

std::string LosslessUtf8(std::wstring_view units) {
    std::string bytes;
    for (std::size_t at = 0; at < units.size();) {
        const auto unit = static_cast<std::uint32_t>(units[at]) & 0xFFFF;
        const std::optional<std::uint32_t> character = NextCharacter(units, at);
        if (character && *character != replacement) {
            AppendCharacter(bytes, *character);
        } else {
            AppendEscape(bytes, unit);
        }
    }
    return bytes;
}

std::optional<std::wstring> UnitsOfLossless(std::string_view bytes) {
    const std::optional<std::wstring> escaped = UnitsOfUtf8(bytes);
    if (!escaped) {
        return std::nullopt;
    }
    const std::wstring_view text = *escaped;
    std::wstring units;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isEscape = static_cast<std::uint32_t>(text[at]) == replacement;
        const auto unit = isEscape ? EscapedUnit(text.substr(at + 1, escapeDigits)) : std::nullopt;
        units += unit.value_or(text[at]);
        at += unit ? escapeDigits : 0;
    }
    return units;
}

} // namespace keyreap
