#pragma once

#include "pe/checkedview.h"
#include "pe/imagetables.h"

#include <cstddef>
#include <cstdint>

namespace keyreap::testsupport {

// The work of the system's image helpers, written again from the published format: for builds without the
// helpers, and as a second opinion for builds with them. Only for views whose headers were checked.
const std::byte* DirectoryBySections(const CheckedView& view, std::uint32_t index);
const std::byte* PlaceBySections(const CheckedView& view, std::uint32_t rva);

// Reads everything that can be read from a file, in the program's order. Returns the number of names that it
// found, so that a test sees that the reading went deep.
std::size_t AskEverything(const CheckedView& view);

} // namespace keyreap::testsupport
