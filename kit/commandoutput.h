#pragma once

#include <optional>
#include <string>
#include <vector>

namespace keyreap {

// What a command of this machine prints, up to its end, without input. None if it can't be started.
std::optional<std::string> OutputOf(const std::vector<std::string>& words);

} // namespace keyreap
