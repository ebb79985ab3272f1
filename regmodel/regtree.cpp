#include "regmodel/regtree.h"

#include "platform/core/text/compare.h"

#include <algorithm>
#include <iterator>

namespace keyreap {

RegTree::RegTree(const RegDocument& document) {
    for (const RegSection& section : document.sections) {
        AddSection(section);
    }
}

void RegTree::AddSection(const RegSection& section) {
    const RegPlace place = PlaceOf(section.path);
    if (section.isDeletion) {
        Remove(Find(place, place.names.size()));
        return;
    }
    Key key = AddedRoot(place.scope);
    for (const std::wstring& name : place.names) {
        key = Added(key, name);
    }
    for (const RegEntry& entry : section.entries) {
        AddEntry(key, entry);
    }
}

void RegTree::AddEntry(Key key, const RegEntry& entry) {
    const auto [found, isNew] = values.try_emplace({key, FoldedText(entry.name)});
    if (isNew) {
        nodes[key].valueNames.push_back(entry.name);
    }
    SetValue& value = found->second;
    value.entry = entry.kind == RegEntryKind::Deletion ? nullptr : &entry;
    value.deletions = nodes[key].deletions;
}

RegTree::Key RegTree::AddedRoot(const RegScope& scope) {
    const auto [found, isNew] = roots.try_emplace(scope, nodes.size());
    if (isNew) {
        nodes.emplace_back();
    }
    nodes[found->second].isPresent = true;
    return found->second;
}

RegTree::Key RegTree::Added(Key parent, std::wstring_view name) {
    const auto [found, isNew] = keys.try_emplace({parent, FoldedText(std::wstring(name))}, nodes.size());
    const Key key = found->second;
    if (isNew) {
        nodes.emplace_back().name = name;
    }
    nodes[key].isPresent = true;
    if (!nodes[key].isListed) {
        nodes[key].isListed = true;
        nodes[parent].children.push_back(key);
    }
    return key;
}

void RegTree::Remove(Key key) {
    std::vector<Key> pending;
    if (key != noKey) {
        pending.push_back(key);
    }
    while (!pending.empty()) {
        Node& node = nodes[pending.back()];
        pending.pop_back();
        for (const Key child : node.children) {
            nodes[child].isListed = false;
            pending.push_back(child);
        }
        node.children.clear();
        node.isPresent = false;
        ++node.deletions;
    }
}

RegTree::Key RegTree::Find(const RegPlace& place, std::size_t count) const {
    const auto root = roots.find(place.scope);
    Key key = root == roots.end() ? noKey : root->second;
    for (std::size_t i = 0; i < count && i < place.names.size(); ++i) {
        key = Child(key, place.names[i]);
    }
    return key;
}

RegTree::Key RegTree::Child(Key key, std::wstring_view name) const {
    const auto found = key == noKey ? keys.end() : keys.find({key, FoldedText(std::wstring(name))});
    return found == keys.end() || !nodes[found->second].isPresent ? noKey : found->second;
}

std::vector<RegTree::Key> RegTree::Children(Key key) const {
    std::vector<Key> children;
    if (key != noKey) {
        std::ranges::copy_if(nodes[key].children, std::back_inserter(children),
                             [this](Key child) { return nodes[child].isPresent; });
    }
    return children;
}

const std::wstring& RegTree::NameOf(Key key) const {
    return nodes[key].name;
}

const RegEntry* RegTree::Value(Key key, std::wstring_view name) const {
    const auto found = key == noKey ? values.end() : values.find({key, FoldedText(std::wstring(name))});
    const bool isSet = found != values.end() && found->second.deletions == nodes[key].deletions;
    return isSet ? found->second.entry : nullptr;
}

std::wstring RegTree::Text(Key key, std::wstring_view name) const {
    const RegEntry* const entry = Value(key, name);
    return entry == nullptr ? L"" : EntryText(*entry).value_or(L"");
}

std::vector<std::pair<std::wstring, std::wstring>> RegTree::Texts(Key key) const {
    std::vector<std::pair<std::wstring, std::wstring>> texts;
    if (key != noKey) {
        for (const std::wstring& name : nodes[key].valueNames) {
            const RegEntry* const entry = Value(key, name);
            if (const auto text = entry == nullptr ? std::nullopt : EntryText(*entry)) {
                texts.emplace_back(name, *text);
            }
        }
    }
    return texts;
}

} // namespace keyreap
