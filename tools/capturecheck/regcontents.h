#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace keyreap {

// What a person wants to know of a .reg file that the program wrote.
struct RegContents {
    std::size_t keys = 0;
    std::size_t values = 0;
    // Values that were set and could not be read again: their text is ten times U+5555.
    std::size_t fillers = 0;
    // A key or a text names the temporary tree of the capture.
    bool namesTemporaryTree = false;
    // It begins as such a file does and ends with a whole line.
    bool isWhole = false;
};

// Of the text after the byte order mark. Names and texts may hold line breaks, and bytes may go on in the
// next line.
RegContents ContentsOfText(std::u16string_view text);

// Of the bytes of a file; what isn't UTF-16 with a byte order mark isn't whole and holds nothing.
RegContents ContentsOfBytes(std::span<const std::byte> bytes);

} // namespace keyreap
