#pragma once

#include "regmodel/regentry.h"
#include "regmodel/regsource.h"

#include <cstddef>
#include <variant>
#include <vector>

namespace keyreap {

struct ReadEntry {
    RegEntry entry;
    std::size_t end = 0; // after the line's end
    std::vector<std::size_t> pairsOfLines;
    bool hasLineEscape = false;
    bool isAmbiguous = false;
};

// Reads the entry that begins at the place with @ or a quote. A backslash or quote that begins a name or text
// is taken for an escape and for the lone one of a damaged text, and what gives a whole entry counts. If both
// do, which takes a line break inside the text, the shorter reading is taken.
std::variant<ReadEntry, RegFault> ReadRegEntry(const RegSource& source, std::size_t at);

} // namespace keyreap
