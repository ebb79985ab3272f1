#pragma once

#include "tests/support/imagebuilder.h"

#include <string>

namespace keyreap::testsupport {

// The parts of an image that a linker made, under the names that ImageBuilder gives them. A table that the
// image lacks has no name. A table ends where its directory does.
BuiltImage LinkedImage(std::string bytes);

} // namespace keyreap::testsupport
