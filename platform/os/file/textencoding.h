#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace keyreap {

// How text becomes bytes. Values above the last one give no bytes.
enum class TextEncoding : std::uint32_t {
    lowBytes = 0, // each UTF-16 unit cut to one byte
    systemCodePage = 1,
    utf8WithMark = 2,
    utf8 = 3,
    utf16LittleEndianWithMark = 4,
    utf16LittleEndian = 5,
    utf16BigEndianWithMark = 6,
    utf16BigEndian = 7,
    westernEuropean = 8,    // code page 1252
    westernEuropeanToo = 9, // the same
};

// The bytes that open a file of this encoding (Unicode Standard, 23.8); empty for an encoding without a mark.
std::string_view ByteOrderMark(TextEncoding encoding);

// The Windows code page that the encoding converts through; none for an encoding of plain units.
std::optional<std::uint32_t> CodePageOf(TextEncoding encoding);

// The bytes of the text's UTF-16 units, without a mark, for the encodings that have no code page; empty for
// any other.
std::string EncodeUnits(std::wstring_view text, TextEncoding encoding);

// The text in the encoding after its byte order mark; empty if both are. Windows only.
std::string EncodeText(std::wstring_view text, TextEncoding encoding);

} // namespace keyreap
