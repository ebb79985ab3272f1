#pragma once

#include "kit/explain/explainedstory.h"
#include "kit/explain/keyfilter.h"

#include <string>

namespace keyreap {

// Whether what is asked about is in the result, with its data.
bool IsInResult(const ExplainedStory& explained, const KeyFilter& filter);

// A sentence: whether it is in the result, and if it isn't, what would bring it there.
std::wstring AdviceText(const ExplainedStory& explained, const KeyFilter& filter);

} // namespace keyreap
