#pragma once

#include "kit/capture/capture.h"

#include <optional>
#include <string>
#include <vector>

namespace keyreap {

// What an installer gets of entries that a check has found to be noise.
enum class NoiseChoice {
    Keep,
    Drop,
    Fail,
};

// The captures with or without their noise; what is left out has a line on standard error. None if nothing
// may be made of them, with a line for each entry that is the reason. A Refusal if a file can't be read, or
// if noise is to be kept or dropped and nobody has looked for it.
std::optional<std::vector<Capture>> CapturesToEmit(const std::vector<std::string>& names, NoiseChoice choice);

} // namespace keyreap
