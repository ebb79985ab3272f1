#pragma once

#include "regmodel/regentry.h"
#include "regmodel/regsource.h"

#include <cstddef>

// How a harvest is recognised: it begins with the root of the classes and has all four roots as keys, in its
// order.
namespace keyreap {

// Looks for the roots in the lines from a place on, before anything is read: the meaning of hex(b) depends on
// it.
bool IsHarvest(const RegSource& source, std::size_t at, const RegStyle& style);

// Marks the roots and the two keys that a capture makes in the machine's root, where they have no entries.
void MarkOwnKeys(RegDocument& document);

} // namespace keyreap
