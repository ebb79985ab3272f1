#pragma once

#include "regmodel/regsource.h"

#include <cstddef>
#include <string>
#include <variant>

namespace keyreap {

struct OtherText {
    std::wstring text;
    std::size_t end = 0; // at the line's end
};

// The text that a harvest has after hex(b): it was cut into pieces of two units, whatever they are, with
// commas between them and 25 pieces in a line. So a line's end that follows a piece ends the text, and one
// inside a piece belongs to it.
std::variant<OtherText, RegFault> ReadOtherText(const RegSource& source, std::size_t at);

} // namespace keyreap
