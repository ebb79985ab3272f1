#include "platform/core/text/compare.h"

#include <algorithm>

namespace keyreap {

namespace {

template <typename Fold>
int CompareBy(std::wstring_view left, std::wstring_view right, Fold fold) {
    const std::size_t common = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < common; ++i) {
        const wchar_t a = fold(left[i]);
        const wchar_t b = fold(right[i]);
        if (a != b) {
            return a < b ? -1 : 1;
        }
    }
    if (left.size() == right.size()) {
        return 0;
    }
    return left.size() < right.size() ? -1 : 1;
}

} // namespace

int CompareFolded(std::wstring_view left, std::wstring_view right) {
    return CompareBy(left, right, [](wchar_t unit) { return FoldLetter(unit); });
}

bool EqualFolded(std::wstring_view left, std::wstring_view right) {
    return std::ranges::equal(left, right, {}, FoldLetter, FoldLetter);
}

std::wstring FoldedText(std::wstring text) {
    std::ranges::transform(text, text.begin(), FoldLetter);
    return text;
}

bool StartsWithFolded(std::wstring_view text, std::wstring_view prefix) {
    return text.starts_with(prefix) || CompareFolded(text.substr(0, prefix.size()), prefix) == 0;
}

int CompareUnits(std::wstring_view left, std::wstring_view right) {
    return CompareBy(left, right, [](wchar_t unit) { return unit; });
}

} // namespace keyreap
