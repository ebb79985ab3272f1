#pragma once

#include "kit/manifest/commanifest.h"

#include <string>

namespace keyreap {

// The manifest as XML of the namespace urn:schemas-microsoft-com:asm.v1.
std::string WriteManifest(const ComManifest& manifest);

} // namespace keyreap
