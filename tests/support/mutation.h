#pragma once

#include "tests/support/imagebuilder.h"

#include <cstdint>
#include <random>
#include <string>

namespace keyreap::testsupport {

// Damages an image in one of the ways that mislead readers: bytes are flipped or set to extremes in a header
// or a table, or the file is cut at or next to the edge of a structure. The same seed gives the same damage
// everywhere.
std::string Mutated(const BuiltImage& image, std::uint32_t seed);

} // namespace keyreap::testsupport
