#pragma once

#include "regmodel/regentry.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

// Noise is what a library of the system wrote when it was loaded for the first time, and what landed in a
// capture as if the server had written it.
namespace keyreap {

// An entry of the capture that a library of the system wrote when it was loaded.
struct NoiseEntry {
    std::wstring key;                  // as the capture spells it
    std::optional<std::wstring> value; // none: the key itself

    friend auto operator<=>(const NoiseEntry&, const NoiseEntry&) = default;
};

// The document without these entries, whose names are compared with A to Z folded. A key among them goes only
// if it has no other value; deletions stay.
RegDocument WithoutNoise(RegDocument document, std::span<const NoiseEntry> noise);

// Those that the document doesn't set, in their order.
std::vector<NoiseEntry> EntriesNotIn(const RegDocument& document, std::span<const NoiseEntry> noise);

} // namespace keyreap
