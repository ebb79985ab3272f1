#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace keyreap {

// The code points of a text; none if its bytes are no UTF-8.
std::optional<std::u32string> CodePoints(std::string_view bytes);

// Equal for two names that Windows takes for one, since they differ in the case of letters alone. A name that
// is no UTF-8 stays as it is. Letters are those of the locale, which has to be a UTF-8 one.
std::string FoldedName(std::string_view name);

// The name for a line of text: control characters and bytes that are no UTF-8 become \xNN.
std::string PrintableName(std::string_view name);

// How many letters have to be changed, added, left out or swapped with their neighbour to get from one name
// to the other; the case of letters doesn't count.
std::size_t NameDistance(std::string_view left, std::string_view right);

} // namespace keyreap
