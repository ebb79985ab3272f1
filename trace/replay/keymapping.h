#pragma once

#include "trace/predefinedroot.h"

#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// One row of the table that translates the place of a key into the name that the target used.
struct KeyMapping {
    PredefinedRoot fromRoot;
    std::wstring fromPrefix; // of the path, compared with A to Z folded
    PredefinedRoot toRoot;
    std::wstring toPrefix; // replaces `fromPrefix`
};

// Applies the first row that fits. False, with the results unchanged, if no row does.
bool SubstituteKey(const std::vector<KeyMapping>& mappings, PredefinedRoot root, std::wstring_view keyPath,
                   PredefinedRoot& newRoot, std::wstring& newPath);

// The rows of a replay. They translate the four temporary trees below `temporaryPrefix` (a path below
// HKEY_CURRENT_USER with its trailing backslash) into the roots, and the machine's 32-bit view into its
// 64-bit view.
std::vector<KeyMapping> ReplayMappings(const std::wstring& temporaryPrefix);

} // namespace keyreap
