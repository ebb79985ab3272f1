#pragma once

#include "regmodel/regentry.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The bytes of a .reg file and its units. An 8-bit file doesn't name its code page: its bytes are taken for
// Windows-1252. The five bytes that have no character there keep their number, so each byte has a unit of its
// own, and every file gets its bytes back.
namespace keyreap {

// By the byte order mark FF FE; without it the file is 8-bit.
RegEncoding EncodingOf(std::span<const std::uint8_t> bytes);

// The units without the byte order mark. An odd last byte of UTF-16 is ignored.
std::wstring UnitsOfBytes(std::span<const std::uint8_t> bytes, RegEncoding encoding);

// With the byte order mark; empty if a unit has no byte in the encoding.
std::optional<std::vector<std::uint8_t>> BytesOfUnits(std::wstring_view units, RegEncoding encoding);

// The units of 8-bit characters, and back; no bytes if a unit has none.
std::wstring WidenWindows1252(std::span<const std::uint8_t> bytes);
std::optional<std::vector<std::uint8_t>> NarrowWindows1252(std::wstring_view units);

// The data of an entry from the bytes of its hex(n) form, and back. They differ for the texts and lists of a
// REGEDIT4 file alone.
std::vector<std::uint8_t> DataOfHexBytes(std::vector<std::uint8_t> bytes, std::uint32_t type,
                                         RegVersion version);
std::optional<std::vector<std::uint8_t>> HexBytesOfData(const std::vector<std::uint8_t>& data,
                                                        std::uint32_t type, RegVersion version);

} // namespace keyreap
