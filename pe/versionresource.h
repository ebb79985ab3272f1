#pragma once

#include "pe/checkedview.h"

namespace keyreap {

// True if the resource directory leads to a version resource (type 16, name 1), and everything on the way to
// it and its data in every language is in the file and is loaded with its section. A system that loads the
// image to read the resource then finds it there. A directory with two entries of that type or name is
// invalid.
bool HoldsVersionResource(const CheckedView& view);

} // namespace keyreap
