#include "regmodel/straynames.h"

#include "platform/core/text/compare.h"

#include <algorithm>
#include <array>
#include <string>

namespace keyreap {

namespace {

constexpr std::wstring_view temporaryTree = L"software\\velmoro\\tesselink\\temporary";

// A machine's hives have names, and those of accounts have SIDs.
constexpr std::array<std::wstring_view, 2> withoutRoot = {L"HKEY_LOCAL_MACHINE\\S-1-", L"UNKNOWN!!"};

} // namespace

bool NamesTemporaryTree(std::wstring_view text) {
    const std::wstring folded = FoldedText(std::wstring(text));
    for (std::size_t at = folded.find(temporaryTree); at != std::wstring::npos;
         at = folded.find(temporaryTree, at + 1)) {
        const std::size_t end = at + temporaryTree.size();
        if (end == folded.size() || folded[end] == L'\\') {
            return true;
        }
    }
    return false;
}

StrayName StrayNameOf(std::wstring_view keyPath) {
    const auto begins = [keyPath](std::wstring_view start) { return StartsWithFolded(keyPath, start); };
    if (std::ranges::any_of(withoutRoot, begins)) {
        return StrayName::NoRoot;
    }
    return NamesTemporaryTree(keyPath) ? StrayName::TemporaryTree : StrayName::None;
}

} // namespace keyreap
