#pragma once

#include "kit/capture/pathforms.h"
#include "kit/emit/installbuilder.h"
#include "kit/manifest/objectentries.h"

#include <span>
#include <vector>

namespace keyreap {

// The classes, interfaces, type libraries and ProgIDs of captures, in the order of their first keys; those of
// several hives together. Adds a note for each entry of anything else, and for each entry without data that a
// manifest could have. A key that other keys are in is no entry.
std::vector<ObjectEntries> CollectObjects(std::span<const Capture> captures, int bitness, PathForms& paths,
                                          std::vector<EmitNote>& notes);

} // namespace keyreap
