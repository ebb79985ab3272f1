#pragma once

#include "regmodel/regentry.h"
#include "regmodel/regsource.h"

#include <cstddef>
#include <variant>
#include <vector>

namespace keyreap {

// The right side of an entry, without its name, and where it ends. Blanks, a comment and the line's end
// follow.
struct ReadValue {
    RegEntry entry;
    std::size_t end = 0;
    std::vector<std::size_t> pairsOfLines; // of a hex form
    bool hasLineEscape = false;
};

// The ways to read the right side at a place: one, or two if a text begins with a backslash or quote. Blanks
// after the equals sign are skipped.
std::variant<std::vector<ReadValue>, RegFault> ReadRegValue(const RegSource& source, std::size_t at);

} // namespace keyreap
