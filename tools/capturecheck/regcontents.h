#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace keyreap {

// What a person wants to know about a .reg file that the program wrote.
struct RegContents {
    std::size_t keys = 0;
    std::size_t values = 0;
    // Values that were set and could not be read again: their text is ten times U+5555.
    std::size_t fillers = 0;
    // True if a key or a text names the temporary tree of the capture.
    bool namesTemporaryTree = false;
    // True if a key has no root of its own (regmodel/straynames.h).
    bool hasKeyWithoutRoot = false;
    // True if it begins with the header and ends with a whole line.
    bool isWhole = false;
};

// Takes the text after the byte order mark. Names and texts may contain line breaks, and bytes may continue
// in the next line.
RegContents ContentsOfText(std::u16string_view text);

// Takes the bytes of a file. Bytes that aren't UTF-16 with a byte order mark aren't whole, and nothing is
// found in them.
RegContents ContentsOfBytes(std::span<const std::byte> bytes);

} // namespace keyreap
