#include "platform/core/text/guid.h"

#include "platform/core/text/hash.h"
#include "platform/core/text/text.h"

#include <algorithm>

namespace keyreap {

namespace {

constexpr std::size_t data2Place = 9;
constexpr std::size_t data3Place = 14;
constexpr std::size_t data4Place = 19;

std::wstring_view From(std::wstring_view text, std::size_t place) {
    return text.substr(std::min(place, text.size()));
}

bool IsSkipMark(wchar_t unit) {
    return unit == L'-' || unit == L'{' || unit == L'}';
}

std::array<std::uint8_t, 8> ParseBytes(std::wstring_view text) {
    std::array<std::uint8_t, 8> bytes{};
    std::size_t place = 0;
    for (std::size_t count = 0; count < bytes.size() && place < text.size();) {
        if (IsSkipMark(text[place])) {
            ++place;
            continue;
        }
        bytes[count++] = static_cast<std::uint8_t>(HexTextToInteger(text.substr(place), 2));
        place += 2;
    }
    return bytes;
}

} // namespace

Guid ParseGuid(std::wstring_view text) {
    const std::wstring_view rest = text.starts_with(L'{') ? text.substr(1) : text;
    // A minus sign before a group negates its value, since each group is read as a signed number.
    return Guid{
        .data1 = HexTextToInteger(rest, 8),
        .data2 = static_cast<std::uint16_t>(HexTextToInteger(From(rest, data2Place), 4)),
        .data3 = static_cast<std::uint16_t>(HexTextToInteger(From(rest, data3Place), 4)),
        .data4 = ParseBytes(From(rest, data4Place)),
    };
}

std::size_t GuidHash::operator()(const Guid& guid) const {
    Fnv1a hash;
    hash.AddInteger(guid.data1);
    hash.AddInteger(guid.data2);
    hash.AddInteger(guid.data3);
    for (const std::uint8_t byte : guid.data4) {
        hash.AddByte(byte);
    }
    return static_cast<std::size_t>(hash.Value());
}

} // namespace keyreap
