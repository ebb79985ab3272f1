#include "platform/os/wine/livekeyfacts.h"

#include "platform/os/wine/nativeregistry.h"

namespace keyreap {

const LiveKeyFacts::Answer& LiveKeyFacts::Ask(const std::wstring& path) {
    const auto known = answers.find(path);
    return known != answers.end() ? known->second : answers.emplace(path, Look(path)).first->second;
}

LiveKeyFacts::Answer LiveKeyFacts::Look(std::wstring path) {
    NativeKey seen = LookAtNativeKey(std::move(path));
    return {seen.status >= 0, std::move(seen.linkTarget)};
}

} // namespace keyreap
