#pragma once

#include "kit/emit/installbuilder.h"
#include "kit/emit/installdata.h"

#include <vector>

namespace keyreap {

// Adds a note for each place that can be read in two ways, and one if no value was captured.
void NoteIssuesOf(const Capture& capture, std::vector<EmitNote>& notes);

} // namespace keyreap
