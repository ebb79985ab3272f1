#pragma once

#include "tests/support/imagebuilder.h"

#include <string>

namespace keyreap::testsupport {

// The parts of an image that a linker made, by the names that ImageBuilder gives them; a table that the image
// lacks has no name. Each table's end is taken to be that of its directory.
BuiltImage LinkedImage(std::string bytes);

} // namespace keyreap::testsupport
