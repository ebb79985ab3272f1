#include "kit/explain/resultindex.h"

#include "platform/core/text/compare.h"

#include <utility>

namespace keyreap {

namespace {

std::wstring ValueKey(const std::wstring& key, const std::wstring& name) {
    return FoldedText(key) + L'\0' + FoldedText(name);
}

InResult Found(const std::unordered_map<std::wstring, InResult>& map, const std::wstring& name) {
    const auto found = map.find(name);
    return found == map.end() ? InResult::Nothing : found->second;
}

} // namespace

ResultIndex::ResultIndex(const RegDocument& document) {
    for (const RegSection& section : document.sections) {
        const std::wstring key = FoldedText(section.path);
        keys[key] = section.isCapturesOwn ? InResult::CapturesOwn : InResult::Itself;
        AddAbove(key);
        for (const RegEntry& entry : section.entries) {
            values[ValueKey(key, entry.name)] = IsFiller(entry) ? InResult::Filler : InResult::Itself;
        }
    }
}

void ResultIndex::AddAbove(std::wstring key) {
    for (std::size_t end = key.rfind(L'\\'); end != std::wstring::npos; end = key.rfind(L'\\')) {
        key.resize(end);
        if (!keys.emplace(key, InResult::OnlyBelow).second) {
            return;
        }
    }
}

InResult ResultIndex::OfKey(const std::wstring& key) const {
    return Found(keys, FoldedText(key));
}

InResult ResultIndex::OfValue(const std::wstring& key, const std::wstring& name) const {
    return Found(values, ValueKey(key, name));
}

} // namespace keyreap
