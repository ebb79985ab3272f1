#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// One substitution in the text of REG_SZ values. Both sides are in the escaped form of .reg string text.
struct PathReplacement {
    std::wstring from;
    std::wstring to;
};

using PathReplacements = std::vector<PathReplacement>;

// Replaces every `from` in `subject`. The comparison is case-sensitive. Replaced text isn't searched again.
// An empty `from` matches nothing.
void ReplaceAll(std::wstring& subject, std::wstring_view from, std::wstring_view to);

// Applies the replacements one after another, each to the result of the one before.
void ApplyReplacements(std::wstring& subject, const PathReplacements& replacements);

} // namespace keyreap
