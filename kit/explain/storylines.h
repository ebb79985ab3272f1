#pragma once

#include "kit/explain/explainedstory.h"
#include "kit/explain/keyfilter.h"

#include <string>
#include <vector>

namespace keyreap {

// The lines about a whole capture: its changes, what other processes wrote, and what was looked for in vain
// in redirected roots. The last one says what is left out.
std::vector<std::wstring> StoryLines(const ExplainedStory& explained);

// The whole story of a key and of the keys above it.
std::vector<std::wstring> StoryLines(const ExplainedStory& explained, const KeyFilter& filter);

} // namespace keyreap
