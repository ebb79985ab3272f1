#include "kit/emit/classentries.h"

#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"
#include "regfile/valuetext.h"

namespace keyreap {

namespace {

constexpr std::wstring_view classes = L"Software\\Classes\\";

} // namespace

ClassEntries::ClassEntries(InstallComponent& component, const InstallData& data) : component(component) {
    const InstallRoot root =
        data.scope == InstallScope::Machine ? InstallRoot::LocalMachine : InstallRoot::CurrentUser;
    for (std::size_t index = 0; index < component.keys.size(); ++index) {
        const InstallKey& key = component.keys[index];
        if (key.root != root || !StartsWithFolded(key.path, classes)) {
            continue;
        }
        const std::wstring path = key.path.substr(classes.size());
        keys.push_back(SplitText(path, L"\\", false));
        if (key.values.empty()) {
            emptyKeys.try_emplace(FoldedText(path), index);
        }
        for (std::size_t value = 0; value < key.values.size(); ++value) {
            if (IsLiteral(key.values[value].name)) {
                values.try_emplace({FoldedText(path), FoldedText(key.values[value].place.value)},
                                   Place(index, value));
            }
        }
    }
}

const PieceText* ClassEntries::TextAt(const EntryName& name) const {
    const auto known = values.find(name);
    if (known == values.end() || taken.contains(known->second)) {
        return nullptr;
    }
    const InstallValue& value = component.keys[known->second.first].values[known->second.second];
    return static_cast<RegType>(value.type) == RegType::Sz ? &value.text : nullptr;
}

bool ClassEntries::IsEmptyKey(const std::wstring& path) const {
    const auto known = emptyKeys.find(path);
    return known != emptyKeys.end() && !takenKeys.contains(known->second);
}

void ClassEntries::Take(const EntryName& name) {
    if (const auto known = values.find(name); known != values.end()) {
        taken.insert(known->second);
    }
}

void ClassEntries::TakeKey(const std::wstring& path) {
    if (const auto known = emptyKeys.find(path); known != emptyKeys.end()) {
        takenKeys.insert(known->second);
    }
}

void ClassEntries::Finish() {
    for (const auto& [key, value] : taken) {
        std::vector<InstallValue>& left = component.keys[key].values;
        left.erase(left.begin() + static_cast<std::ptrdiff_t>(value));
        if (left.empty()) {
            takenKeys.insert(key);
        }
    }
    for (const std::size_t key : takenKeys) {
        component.keys.erase(component.keys.begin() + static_cast<std::ptrdiff_t>(key));
    }
}

} // namespace keyreap
