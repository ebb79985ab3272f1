#pragma once

#include "tools/selfcheck/vocabulary.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// The mode `both` has the keys in an order that isn't fixed.
enum class KeyOrder { Fixed, Free };

// What differs between a captured .reg file and the expected one, a line each; empty if nothing does. Of
// entries that the expected file doesn't have, the lines contain no data, and only names that the vocabulary
// has.
std::vector<std::string> DifferencesOf(std::string_view captured, std::string_view expected, KeyOrder order,
                                       const Vocabulary& vocabulary);

// Adds the names of the keys and values of a .reg file.
void AddNamesOf(std::string_view document, Vocabulary& vocabulary);

// The keys of a .reg file that only this project's samples have: each path up to its first name that begins
// with Keyreap or is a GUID of the samples.
std::set<std::wstring> OwnKeysOf(std::string_view document);

// The names of all values of a .reg file.
std::set<std::wstring> ValueNamesOf(std::string_view document);

} // namespace keyreap
