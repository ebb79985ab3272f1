#include "hostlogger/livekeyfacts.h"

#include "hostlogger/nativeregistry.h"
#include "platform/core/text/compare.h"

#include <utility>

namespace keyreap {

const LiveKeyFacts::Answer& LiveKeyFacts::Ask(const std::wstring& path) {
    std::wstring folded = FoldedText(path);
    const auto known = answers.find(folded);
    return known != answers.end() ? known->second
                                  : answers.emplace(std::move(folded), Look(path)).first->second;
}

LiveKeyFacts::Answer LiveKeyFacts::Look(std::wstring path) {
    NativeKey seen = LookAtNativeKey(std::move(path));
    return {seen.status >= 0, std::move(seen.linkTarget)};
}

} // namespace keyreap
