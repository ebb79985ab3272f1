#pragma once

#include "kit/emit/installbuilder.h"
#include "kit/emit/installdata.h"

#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// Adds a note for each place that can be read in two ways, and one if no value was captured.
void NoteIssuesOf(const Capture& capture, std::vector<EmitNote>& notes);

// What is wrong with a key's path though the key is carried; empty if nothing is.
std::wstring DoubtAboutKey(std::wstring_view keyPath);

} // namespace keyreap
