#pragma once

#include "trace/replay/registrylog.h"

#include <string>

namespace keyreap {

// Moves the recorded operations of the numbered control sets to the current one. If both numbered sets have
// the same subkey, the second set's replaces the first's.
void FoldControlSets(RegistryLog& log);

// Removes the current control set from the log if no value was recorded below it: such keys are noise of the
// system. With `rootsRedirected`, does the same for the set in the temporary tree below `temporaryPrefix`.
void PruneControlSets(RegistryLog& log, bool rootsRedirected, const std::wstring& temporaryPrefix);

} // namespace keyreap
