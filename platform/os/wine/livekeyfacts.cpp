#include "platform/os/wine/livekeyfacts.h"

#include <utility>

#include "platform/os/wine/nativeregistry.h"

namespace keyreap {

const LiveKeyFacts::Answer& LiveKeyFacts::Ask(const std::wstring& path) {
    std::wstring folded = FoldedKeyText(path);
    const auto known = answers.find(folded);
    return known != answers.end() ? known->second
                                  : answers.emplace(std::move(folded), Look(path)).first->second;
}

LiveKeyFacts::Answer LiveKeyFacts::Look(std::wstring path) {
    NativeKey seen = LookAtNativeKey(std::move(path));
    return {seen.status >= 0, std::move(seen.linkTarget)};
}

} // namespace keyreap
