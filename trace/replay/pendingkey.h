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

// A key that waits, with its values, for its place in the .reg file.
struct PendingKey {
    PredefinedRoot root;
    std::wstring keyPath;
    std::vector<PendingValue> values;
};

// True if the left path sorts before the right one. A backslash counts as TAB and A to Z are folded, so that
// a key stands directly ahead of its subkeys.
bool ComparePendingKeys(std::wstring_view left, std::wstring_view right);

// Puts the keys of one root in the order of ComparePendingKeys, and each key's values in that of their names'
// 16-bit units, case included.
void SortPendingKeys(std::vector<PendingKey>& keys);

} // namespace keyreap
