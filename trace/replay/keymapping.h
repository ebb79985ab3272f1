#pragma once

#include "trace/predefinedroot.h"

#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// One row of the table that turns the place where a key was found into the name that the target meant.
struct KeyMapping {
    PredefinedRoot fromRoot;
    std::wstring fromPrefix; // of the path, compared with A to Z folded
    PredefinedRoot toRoot;
    std::wstring toPrefix; // takes the place of `fromPrefix`
};

// Applies the first row that fits. False if none does: the results are then untouched.
bool SubstituteKey(const std::vector<KeyMapping>& mappings, PredefinedRoot root, std::wstring_view keyPath,
                   PredefinedRoot& newRoot, std::wstring& newPath);

// The rows of a replay: the four temporary trees below `temporaryPrefix` (a path below HKEY_CURRENT_USER with
// its trailing backslash) stand for the roots, and the machine's 32-bit view for its 64-bit one.
std::vector<KeyMapping> ReplayMappings(const std::wstring& temporaryPrefix);

} // namespace keyreap
