#pragma once

#include "regfile/valuetext.h"
#include "trace/predefinedroot.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

struct PendingValue {
    std::wstring name;
    ValueText text;
    std::uint32_t type; // registry type code
};

// A key, with its values, that is not sorted and written yet.
struct PendingKey {
    PredefinedRoot root;
    std::wstring keyPath;
    std::vector<PendingValue> values;
};

// True if the left path sorts before the right one. A backslash counts as TAB and A to Z are folded, so that
// a key comes directly before its subkeys.
bool ComparePendingKeys(std::wstring_view left, std::wstring_view right);

// Sorts the keys of one root by ComparePendingKeys, and each key's values by the 16-bit units of their names,
// case-sensitively.
void SortPendingKeys(std::vector<PendingKey>& keys);

} // namespace keyreap
