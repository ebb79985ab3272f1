#pragma once

#include "tools/capturecheck/pairfiles.h"

#include <string>
#include <string_view>

namespace keyreap {

// Why the capture of a pair fails, as far as its files show it without running anything: a part of a
// sentence, or empty.
std::string ReasonInFiles(const PairFiles& pair);

// The reason for a failed pair if no other reason is known.
std::string GeneralReason(const PairFiles& pair);

// The name in a folder that is most like the given one; empty if none is similar enough to have been meant.
std::string NearMiss(const std::string& folder, std::string_view name);

} // namespace keyreap
