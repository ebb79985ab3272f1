#pragma once

#include "trace/replay/registrylog.h"

#include <string>

namespace keyreap {

// What was done under the numbered control sets counts as done under the current one. Where both have the
// same subkey, the second set's wins.
void FoldControlSets(RegistryLog& log);

// Drops the current control set from the log if no value was recorded below it: the system's own noise.
// `rootsRedirected` adds its place in the temporary tree below `temporaryPrefix`.
void PruneControlSets(RegistryLog& log, bool rootsRedirected, const std::wstring& temporaryPrefix);

} // namespace keyreap
