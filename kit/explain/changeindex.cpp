#include "kit/explain/changeindex.h"

#include "etl/registryevent.h"
#include "platform/core/text/compare.h"

#include <algorithm>

namespace keyreap {

namespace {

bool IsOnValue(const StoryOperation& operation) {
    return operation.type == registryevent::setValue || operation.type == registryevent::deleteValue ||
           operation.type == registryevent::queryValue;
}

bool RemovesKey(const StoryOperation& operation) {
    return operation.type == registryevent::deleteKey || operation.type == registryevent::setInformation;
}

bool Makes(const StoryOperation& operation) {
    return operation.type == registryevent::createKey || operation.type == registryevent::setValue;
}

} // namespace

bool IsChange(const StoryOperation& operation) {
    return operation.type == registryevent::createKey || operation.type == registryevent::setValue ||
           operation.type == registryevent::deleteValue || RemovesKey(operation);
}

bool HasChanged(const StoryOperation& operation) {
    return IsChange(operation) && operation.status == 0;
}

ChangeIndex::ChangeIndex(const std::vector<StoryOperation>& operations,
                         const std::function<bool(const StoryOperation&)>& counts)
    : operations(operations) {
    for (std::size_t i = 0; i < operations.size(); ++i) {
        const StoryOperation& operation = operations[i];
        if (!HasChanged(operation) || !counts(operation)) {
            continue;
        }
        const std::wstring key = Folded(operation.keyPath);
        touched.insert(key);
        if (IsOnValue(operation)) {
            values[ValueKey(operation)].push_back(i);
        } else {
            (RemovesKey(operation) ? removals : keys)[key].push_back(i);
        }
    }
}

std::wstring ChangeIndex::Folded(const std::wstring& path) {
    return FoldedText(path);
}

std::wstring ChangeIndex::ValueKey(const StoryOperation& operation) {
    return Folded(operation.keyPath) + L'\0' + FoldedText(operation.valueName);
}

const ChangeIndex::Indices* ChangeIndex::Find(const std::unordered_map<std::wstring, Indices>& map,
                                              const std::wstring& key) {
    const auto found = map.find(key);
    return found == map.end() ? nullptr : &found->second;
}

std::size_t ChangeIndex::FirstAfter(const Indices* list, std::size_t operation) {
    if (list == nullptr) {
        return noIndex;
    }
    const auto found = std::ranges::upper_bound(*list, operation);
    return found == list->end() ? noIndex : *found;
}

std::size_t ChangeIndex::Next(std::size_t operation) const {
    const StoryOperation& asked = operations[operation];
    std::size_t next = noIndex;
    if (IsOnValue(asked)) {
        next = FirstAfter(Find(values, ValueKey(asked)), operation);
    }
    std::wstring key = Folded(asked.keyPath);
    for (std::size_t end = key.size(); end != std::wstring::npos && end != 0; end = key.rfind(L'\\')) {
        key.resize(end);
        next = std::min(next, FirstAfter(Find(removals, key), operation));
    }
    return next;
}

bool ChangeIndex::IsMadeAfter(std::size_t operation) const {
    const StoryOperation& asked = operations[operation];
    const Indices* const list =
        IsOnValue(asked) ? Find(values, ValueKey(asked)) : Find(keys, Folded(asked.keyPath));
    return list != nullptr && std::any_of(std::ranges::upper_bound(*list, operation), list->end(),
                                          [this](std::size_t later) { return Makes(operations[later]); });
}

std::size_t ChangeIndex::Previous(std::size_t operation) const {
    const StoryOperation& asked = operations[operation];
    const Indices* const list =
        IsOnValue(asked) ? Find(values, ValueKey(asked)) : Find(keys, Folded(asked.keyPath));
    if (list == nullptr) {
        return noIndex;
    }
    const auto found = std::ranges::lower_bound(*list, operation);
    return found == list->begin() ? noIndex : *std::prev(found);
}

} // namespace keyreap
