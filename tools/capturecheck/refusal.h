#pragma once

#include "tools/capturecheck/commandwords.h"
#include "tools/capturecheck/pairfiles.h"

#include <optional>
#include <vector>

namespace keyreap {

// The first reason not to begin: a word that Windows, or the host below it, would take for another file, or
// an output that would overwrite a file that a pair needs. No result if the run can begin.
std::optional<Remark> RefusalOf(const std::vector<PairFiles>& pairs);

} // namespace keyreap
