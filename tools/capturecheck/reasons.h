#pragma once

#include "tools/capturecheck/pairfiles.h"

#include <string>
#include <string_view>

namespace keyreap {

// Why the capture of a pair fails, as far as its files show it without running anything: a piece of a
// sentence, or empty.
std::string ReasonInFiles(const PairFiles& pair);

// What can be said of a failed pair when nobody knows more.
std::string GeneralReason(const PairFiles& pair);

// The name in a folder that is most like the given one, if any is so like it that it may have been meant.
std::string NearMiss(const std::string& folder, std::string_view name);

} // namespace keyreap
