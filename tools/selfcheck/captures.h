#pragma once

#include "tools/selfcheck/places.h"
#include "tools/selfcheck/report.h"
#include "tools/selfcheck/vocabulary.h"

#include <cstddef>
#include <set>
#include <string>

namespace keyreap {

// Captures the samples of captures.txt, every step-th of all captures, and compares each result with its
// golden file.
ReportPart CheckCaptures(const Places& places, const Vocabulary& vocabulary, std::size_t step);

// Deletes keys of the samples from the registry, in both views. Each path begins with the name of a root.
void DeleteOwnKeys(const std::set<std::wstring>& paths);

} // namespace keyreap
