#pragma once

#include "pe/checkedview.h"
#include "pe/imagetables.h"

namespace keyreap {

// The size of IMAGE_RESOURCE_DIRECTORY of winnt.h.
inline constexpr std::size_t resourceDirectorySize = 16;

// True if the resource directory leads to a version resource (type 16, name 1), and all that is on the way to
// it, and its data in every language, lies inside the file. A directory with two entries of that type or name
// is none.
bool HoldsVersionResource(const CheckedView& view, const std::byte* resourceDirectory,
                          const RvaResolver& resolve);

} // namespace keyreap
