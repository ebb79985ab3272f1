#pragma once

#include "regmodel/regentry.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Where the producers of .reg files break the lines of bytes.
namespace keyreap {

// The form and its type, as hex(2):
std::wstring HexOpening(RegForm form, std::uint32_t type);

// The number of pairs in each line. `opening` is the length of everything before the first pair.
std::vector<std::size_t> PairsOfLines(RegHexLines style, std::uint32_t type, std::size_t opening,
                                      std::size_t count);

} // namespace keyreap
