#include "regfile/regtext.h"

#include "platform/core/text/text.h"

#include <limits>

namespace keyreap {

namespace {

constexpr std::size_t hexLineLength = 50;

bool NeedsEscape(wchar_t unit) {
    return unit == L'\\' || unit == L'"';
}

bool IsDigit(wchar_t unit) {
    return unit >= L'0' && unit <= L'9';
}

bool IsWhiteSpace(wchar_t unit) {
    return unit == L' ' || (unit >= L'\t' && unit <= L'\r');
}

std::uint32_t ParseDecimal(const std::wstring& text) {
    constexpr std::uint64_t limit = std::numeric_limits<std::uint32_t>::max();
    std::size_t i = 0;
    while (i < text.size() && IsWhiteSpace(text[i])) {
        ++i;
    }
    std::uint64_t number = 0;
    for (; i < text.size() && IsDigit(text[i]); ++i) {
        number = number * 10 + static_cast<std::uint64_t>(text[i] - L'0');
        if (number > limit) {
            return static_cast<std::uint32_t>(limit);
        }
    }
    return static_cast<std::uint32_t>(number);
}

std::wstring FormatString(const ValueText& text, const PathReplacements& replacements) {
    std::wstring body = EscapeRegText(text);
    ApplyReplacements(body, replacements);
    return L'"' + body + L'"';
}

} // namespace

std::wstring EscapeRegText(std::wstring_view text) {
    std::wstring escaped;
    // Deliberate: a lone leading backslash or quote stays single, because its index is 0, as without any
    // escape.
    std::size_t last = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (NeedsEscape(text[i])) {
            escaped.append(text.substr(last, i - last));
            escaped += L'\\';
            last = i;
        }
    }
    if (last == 0) {
        return std::wstring(text);
    }
    escaped.append(text.substr(last));
    return escaped;
}

std::wstring EscapeRegTextStrict(std::wstring_view text) {
    std::wstring escaped;
    escaped.reserve(text.size());
    for (const wchar_t unit : text) {
        if (NeedsEscape(unit)) {
            escaped += L'\\';
        }
        escaped += unit;
    }
    return escaped;
}

std::wstring EncodeWideHex(const ValueText& text) {
    std::wstring result;
    result.reserve(6 * text.size() + 6);
    for (const wchar_t unit : text) {
        if (unit == L'\r') {
            continue;
        }
        const unsigned code = unit == L'\n' ? 0U : static_cast<unsigned>(unit);
        if (!result.empty()) {
            result += L',';
        }
        AppendHexByte(result, code);
        result += L',';
        AppendHexByte(result, code >> 8);
    }
    // Deliberate: an empty text has the terminator's comma too, so that its entry is "hex(2):,00,00".
    result += L",00,00";
    return result;
}

std::wstring EncodeHexPairs(const ValueText& text) {
    std::wstring result;
    result.reserve(text.size() + text.size() / 2 + 5 * (text.size() / hexLineLength));
    for (std::size_t p = 0; p < text.size(); p += 2) {
        if (p != 0) {
            result += L',';
            // Only pairs count for the length of a line: the name and the prefix do not shorten the first
            // line.
            if (p % hexLineLength == 0) {
                result += L"\\\r\n  ";
            }
        }
        result.append(text, p, 2);
    }
    return result;
}

std::wstring EncodeDwordHex(const ValueText& text) {
    const std::uint32_t number = ParseDecimal(text);
    std::wstring result;
    for (int shift = 24; shift >= 0; shift -= 8) {
        AppendHexByte(result, number >> shift);
    }
    return result;
}

std::wstring FormatValueEntry(std::wstring_view name, const ValueText& text, std::uint32_t type,
                              const PathReplacements& replacements) {
    std::wstring entry = name.empty() ? L"@=" : L'"' + EscapeRegText(name) + L"\"=";
    switch (static_cast<RegType>(type)) {
    case RegType::Sz:
        entry += FormatString(text, replacements);
        break;
    case RegType::ExpandSz:
        entry += L"hex(2):" + EncodeWideHex(text);
        break;
    case RegType::Binary:
        entry += L"hex:" + EncodeHexPairs(text);
        break;
    case RegType::Dword:
        entry += L"dword:" + EncodeDwordHex(text);
        break;
    case RegType::MultiSz:
        entry += L"hex(7):" + EncodeWideHex(text);
        break;
    case RegType::Qword:
        entry += L"hex(b):" + EncodeHexPairs(text);
        break;
    default:
        // Deliberate: an entry without data, because no value of any type is skipped.
        break;
    }
    return entry + L"\r\n";
}

} // namespace keyreap
