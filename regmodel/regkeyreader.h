#pragma once

#include "regmodel/regentry.h"
#include "regmodel/regsource.h"

#include <cstddef>
#include <variant>

namespace keyreap {

struct ReadKey {
    RegSection section;        // without entries
    std::size_t end = 0;       // after the line's end
    bool hasLineBreak = false; // in the name
};

// Reads the key whose opening bracket is at the place. The last closing bracket of the line ends it, since a
// key's name may contain brackets. If the line has none, the name may contain the line's end: then it goes on
// up to a line that ends in a bracket, but not over a line that could be an entry, a key, a comment or empty.
std::variant<ReadKey, RegFault> ReadRegKey(const RegSource& source, std::size_t at);

} // namespace keyreap
