#include "platform/os/file/textencoding.h"

namespace keyreap {

namespace {

constexpr std::uint32_t systemDefaultPage = 0;
constexpr std::uint32_t utf8Page = 65001;
constexpr std::uint32_t westernEuropeanPage = 1252;

char LowByte(wchar_t unit) {
    return static_cast<char>(unit & 0xFF);
}
char HighByte(wchar_t unit) {
    return static_cast<char>((unit >> 8) & 0xFF);
}

std::string LowBytes(std::wstring_view text) {
    std::string bytes(text.size(), '\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
        bytes[i] = LowByte(text[i]);
    }
    return bytes;
}

template <typename First, typename Second>
std::string BytePairs(std::wstring_view text, First first, Second second) {
    std::string bytes(text.size() * 2, '\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
        bytes[2 * i] = first(text[i]);
        bytes[2 * i + 1] = second(text[i]);
    }
    return bytes;
}

} // namespace

std::string_view ByteOrderMark(TextEncoding encoding) {
    switch (encoding) {
    case TextEncoding::utf8WithMark:
        return "\xEF\xBB\xBF";
    case TextEncoding::utf16LittleEndianWithMark:
        return "\xFF\xFE";
    case TextEncoding::utf16BigEndianWithMark:
        return "\xFE\xFF";
    default:
        return {};
    }
}

std::optional<std::uint32_t> CodePageOf(TextEncoding encoding) {
    switch (encoding) {
    case TextEncoding::systemCodePage:
        return systemDefaultPage;
    case TextEncoding::utf8WithMark:
    case TextEncoding::utf8:
        return utf8Page;
    case TextEncoding::westernEuropean:
    case TextEncoding::westernEuropeanToo:
        return westernEuropeanPage;
    default:
        return std::nullopt;
    }
}

std::string EncodeUnits(std::wstring_view text, TextEncoding encoding) {
    switch (encoding) {
    case TextEncoding::lowBytes:
        return LowBytes(text);
    case TextEncoding::utf16LittleEndianWithMark:
    case TextEncoding::utf16LittleEndian:
        return BytePairs(text, LowByte, HighByte);
    case TextEncoding::utf16BigEndianWithMark:
    case TextEncoding::utf16BigEndian:
        return BytePairs(text, HighByte, LowByte);
    default:
        return {};
    }
}

} // namespace keyreap
