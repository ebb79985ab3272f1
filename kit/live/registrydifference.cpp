#include "kit/live/registrydifference.h"

#include <set>

namespace keyreap {

namespace {

using Names = std::set<std::wstring, NameOrder>;

std::vector<ChangedValue> ChangesOf(const RegistryValues& before, const RegistryValues& now) {
    std::vector<ChangedValue> changes;
    for (const auto& [name, data] : now) {
        const auto old = before.find(name);
        if (old == before.end()) {
            changes.push_back({name, data, std::nullopt});
        } else if (old->second != data) {
            changes.push_back({name, data, old->second});
        }
    }
    for (const auto& [name, data] : before) {
        if (!now.contains(name)) {
            changes.push_back({name, std::nullopt, data});
        }
    }
    return changes;
}

} // namespace

void RegistryDifference::Compare(HKEY key, const RegistryTree& before, const std::wstring& name) {
    const TreeReader::Summary summary = TreeReader::SummaryOf(key);
    if (summary.lastWrite != before.lastWrite) {
        CompareValues(key, summary, before, name);
    }
    Names present;
    for (std::wstring& subkey : reader.SubkeyNames(key, summary)) {
        const OwnedRegistryKey opened = TreeReader::Open(key, subkey);
        const std::wstring path = name + L'\\' + subkey;
        if (const auto old = before.subkeys.find(subkey); old != before.subkeys.end()) {
            Compare(opened.Get(), old->second, path);
        } else {
            ReportCreated(reader.Tree(opened.Get()), path);
        }
        present.insert(std::move(subkey));
    }
    for (const auto& [subkey, tree] : before.subkeys) {
        if (!present.contains(subkey)) {
            ReportRemoved(tree, name + L'\\' + subkey);
        }
    }
}

void RegistryDifference::CompareValues(HKEY key, const TreeReader::Summary& summary,
                                       const RegistryTree& before, const std::wstring& name) {
    ChangedKey changed{.name = name, .values = ChangesOf(before.values, reader.Values(key, summary))};
    if (!changed.values.empty()) {
        report(changed);
    }
}

void RegistryDifference::ReportCreated(const RegistryTree& tree, const std::wstring& name) {
    report({.name = name, .isCreated = true, .values = ChangesOf({}, tree.values)});
    for (const auto& [subkey, below] : tree.subkeys) {
        ReportCreated(below, name + L'\\' + subkey);
    }
}

void RegistryDifference::ReportRemoved(const RegistryTree& tree, const std::wstring& name) {
    report({.name = name, .isRemoved = true, .values = ChangesOf(tree.values, {})});
    for (const auto& [subkey, below] : tree.subkeys) {
        ReportRemoved(below, name + L'\\' + subkey);
    }
}

} // namespace keyreap
