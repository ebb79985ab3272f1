#pragma once

#include "pe/peimage.h"

#include <cstdint>

namespace keyreap {

// The Machine and Characteristics of an image's file header; 0 for a file that isn't a PE image.
std::uint16_t MachineOf(PeImage& image);
bool IsDll(PeImage& image);

// "a 32-bit image" and so on; "no image" for the machine 0.
const wchar_t* ImageKind(std::uint16_t machine);

// True if this process can load images for the machine.
bool IsOwnMachine(std::uint16_t machine);

} // namespace keyreap
