#include "regmodel/regbytes.h"

#include "regfile/valuetext.h"

#include <algorithm>
#include <array>

namespace keyreap {

namespace {

// The characters of the bytes 80 to 9F; all others have the number of their byte.
constexpr std::array<wchar_t, 0x20> highCharacters = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
constexpr wchar_t firstHigh = 0x80;
constexpr wchar_t afterHigh = 0xA0;
constexpr wchar_t afterBytes = 0x100;

wchar_t Widened(std::uint8_t byte) {
    const bool isHigh = byte >= firstHigh && byte < afterHigh;
    return isHigh ? highCharacters[static_cast<std::size_t>(byte - firstHigh)] : static_cast<wchar_t>(byte);
}

std::optional<std::uint8_t> Narrowed(wchar_t unit) {
    if (unit < firstHigh || (unit >= afterHigh && unit < afterBytes)) {
        return static_cast<std::uint8_t>(unit);
    }
    const auto* const found = std::ranges::find(highCharacters, unit);
    if (found == highCharacters.end()) {
        return std::nullopt;
    }
    return static_cast<std::uint8_t>(firstHigh + (found - highCharacters.begin()));
}

bool HasNarrowText(std::uint32_t type, RegVersion version) {
    const RegType kind = static_cast<RegType>(type);
    const bool isText = kind == RegType::Sz || kind == RegType::ExpandSz || kind == RegType::MultiSz;
    return isText && version == RegVersion::Four;
}

} // namespace

RegEncoding EncodingOf(std::span<const std::uint8_t> bytes) {
    const bool hasMark = bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE;
    return hasMark ? RegEncoding::Utf16 : RegEncoding::Windows1252;
}

std::wstring UnitsOfBytes(std::span<const std::uint8_t> bytes, RegEncoding encoding) {
    if (encoding == RegEncoding::Windows1252) {
        return WidenWindows1252(bytes);
    }
    std::wstring units(bytes.size() / 2 - 1, L'\0');
    for (std::size_t i = 0; i < units.size(); ++i) {
        units[i] = static_cast<wchar_t>(bytes[2 * i + 2] | (bytes[2 * i + 3] << 8));
    }
    return units;
}

std::optional<std::vector<std::uint8_t>> BytesOfUnits(std::wstring_view units, RegEncoding encoding) {
    if (encoding == RegEncoding::Windows1252) {
        return NarrowWindows1252(units);
    }
    std::vector<std::uint8_t> bytes = {0xFF, 0xFE};
    bytes.reserve(2 * units.size() + 2);
    for (const wchar_t unit : units) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>((unit >> 8) & 0xFF));
    }
    return bytes;
}

std::wstring WidenWindows1252(std::span<const std::uint8_t> bytes) {
    std::wstring units(bytes.size(), L'\0');
    std::ranges::transform(bytes, units.begin(), Widened);
    return units;
}

std::optional<std::vector<std::uint8_t>> NarrowWindows1252(std::wstring_view units) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(units.size());
    for (const wchar_t unit : units) {
        const std::optional<std::uint8_t> byte = Narrowed(unit);
        if (!byte) {
            return std::nullopt;
        }
        bytes.push_back(*byte);
    }
    return bytes;
}

std::vector<std::uint8_t> DataOfHexBytes(std::vector<std::uint8_t> bytes, std::uint32_t type,
                                         RegVersion version) {
    return HasNarrowText(type, version) ? UnitData(WidenWindows1252(bytes)) : bytes;
}

std::optional<std::vector<std::uint8_t>> HexBytesOfData(const std::vector<std::uint8_t>& data,
                                                        std::uint32_t type, RegVersion version) {
    if (!HasNarrowText(type, version)) {
        return data;
    }
    return data.size() % 2 == 0 ? NarrowWindows1252(DataUnits(data)) : std::nullopt;
}

} // namespace keyreap
