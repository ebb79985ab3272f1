#include "trace/replay/pendingkey.h"

#include "platform/core/text/compare.h"

#include <algorithm>

namespace keyreap {

namespace {

wchar_t SortUnit(wchar_t unit) {
    return unit == L'\\' ? L'\t' : FoldLetter(unit);
}

} // namespace

bool ComparePendingKeys(std::wstring_view left, std::wstring_view right) {
    return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
                                        [](wchar_t a, wchar_t b) { return SortUnit(a) < SortUnit(b); });
}

void SortPendingKeys(std::vector<PendingKey>& keys) {
    std::sort(keys.begin(), keys.end(), [](const PendingKey& a, const PendingKey& b) {
        return ComparePendingKeys(a.keyPath, b.keyPath);
    });
    for (PendingKey& key : keys) {
        std::sort(key.values.begin(), key.values.end(), [](const PendingValue& a, const PendingValue& b) {
            return CompareUnits(a.name, b.name) < 0;
        });
    }
}

} // namespace keyreap
