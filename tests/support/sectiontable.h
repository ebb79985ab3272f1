#pragma once

#include "pe/checkedview.h"
#include "pe/imagetables.h"

#include <cstddef>
#include <cstdint>

namespace keyreap::testsupport {

// What the system's image helpers do, told again by the published format, for builds that have no helpers and
// as a second opinion on those that have. Only for views whose headers were checked.
const std::byte* DirectoryBySections(const CheckedView& view, std::uint32_t index);
const std::byte* PlaceBySections(const CheckedView& view, std::uint32_t rva);

// Asks everything that can be asked of a file, in the order in which the program asks. Gives how many names
// it met, so that a test sees that the questions went deep.
std::size_t AskEverything(const CheckedView& view);

} // namespace keyreap::testsupport
