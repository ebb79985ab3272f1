#pragma once

#include "regmodel/regentry.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace keyreap {

// The bytes of the file in the document's style: an empty line before each key, lower-case digits, no
// comments. A file that Keyreap wrote or regedit exported gets the same bytes again. None if an 8-bit file
// has no byte for a character.
std::optional<std::vector<std::uint8_t>> WriteRegDocument(const RegDocument& document);

} // namespace keyreap
