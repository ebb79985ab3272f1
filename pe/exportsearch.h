#pragma once

#include "pe/peimage.h"

#include <string_view>

namespace keyreap {

// True if the image exports the name, case included. An export by ordinal alone has no name.
bool HasExportNamed(PeImage& image, std::string_view name);

} // namespace keyreap
