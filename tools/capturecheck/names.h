#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace keyreap {

// The code points of a text; no result if its bytes aren't UTF-8.
std::optional<std::u32string> CodePoints(std::string_view bytes);

// Gives the same result for two names that differ only in the case of letters, which Windows takes for one
// name. A name that isn't UTF-8 stays as it is. Letters are those of the locale, which has to be a UTF-8
// locale.
std::string FoldedName(std::string_view name);

// The name for a line of text: control characters and bytes that aren't UTF-8 become \xNN.
std::string PrintableName(std::string_view name);

// The number of letters to change, add, remove or swap with their neighbour to turn one name into the other.
// The case of letters doesn't count.
std::size_t NameDistance(std::string_view left, std::string_view right);

} // namespace keyreap
