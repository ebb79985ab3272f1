#include "kit/show/capturetree.h"

#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"

namespace keyreap {

namespace {

// Equal for entries that an import can't distinguish.
std::string IdentityOf(const RegEntry& entry) {
    std::string identity;
    for (const std::size_t number :
         {static_cast<std::size_t>(entry.kind), static_cast<std::size_t>(entry.damage),
          static_cast<std::size_t>(entry.hasLoneName), static_cast<std::size_t>(entry.type)}) {
        identity += std::to_string(number) + ' ';
    }
    identity.append(entry.data.begin(), entry.data.end());
    const std::vector<std::uint8_t> other = UnitData(entry.otherText);
    identity.append(other.begin(), other.end());
    return identity;
}

std::vector<std::wstring> NamesOf(std::wstring_view path) {
    return SplitText(path, L"\\", true);
}

} // namespace

CaptureTree::CaptureTree(std::span<const PageCapture> captures) : captureCount(captures.size()) {
    nodes.emplace_back();
    for (std::size_t capture = 0; capture < captureCount; ++capture) {
        std::vector<std::size_t>& ofSections = keysOfSections.emplace_back();
        for (const RegSection& section : captures[capture].document.sections) {
            ofSections.push_back(Added(section.path));
            AddSection(capture, section, ofSections.back());
        }
    }
    Sort();
    for (std::vector<std::size_t>& ofSections : keysOfSections) {
        for (std::size_t& node : ofSections) {
            node = places[node];
        }
    }
}

std::size_t CaptureTree::Find(std::wstring_view path) const {
    std::size_t node = 0;
    for (const std::wstring& name : NamesOf(path)) {
        const auto found = nodes[node].children.find(FoldedText(name));
        if (found == nodes[node].children.end()) {
            return none;
        }
        node = found->second;
    }
    return places[node];
}

std::size_t CaptureTree::Added(std::wstring_view path) {
    std::size_t node = 0;
    for (const std::wstring& name : NamesOf(path)) {
        node = AddedChild(node, name);
    }
    return node;
}

std::size_t CaptureTree::AddedChild(std::size_t parent, std::wstring_view name) {
    const auto [found, isNew] =
        nodes[parent].children.try_emplace(FoldedText(std::wstring(name)), nodes.size());
    const std::size_t child = found->second;
    if (isNew) {
        ComparedKey& key = nodes.emplace_back().key;
        key.name = name;
        key.parent = parent;
        key.states.assign(captureCount, KeyState::Absent);
    }
    return child;
}

void CaptureTree::AddSection(std::size_t capture, const RegSection& section, std::size_t node) {
    if (node == 0) {
        return;
    }
    if (section.isDeletion) {
        Delete(capture, node);
        return;
    }
    MarkPresent(capture, nodes[node].key.parent);
    KeyState& state = nodes[node].key.states[capture];
    if (state == KeyState::Deleted) {
        state = KeyState::Replaced;
    } else if (state == KeyState::Absent) {
        state = section.isCapturesOwn ? KeyState::CapturesOwn : KeyState::Present;
    }
    for (const RegEntry& entry : section.entries) {
        const auto [found, isNew] = nodes[node].values.try_emplace(FoldedText(entry.name));
        if (isNew) {
            found->second = {entry.name, std::vector<std::size_t>(captureCount, none)};
        }
        found->second.data[capture] = IndexOf(entry);
    }
}

// The key and those above it.
void CaptureTree::MarkPresent(std::size_t capture, std::size_t node) {
    for (; node != 0; node = nodes[node].key.parent) {
        KeyState& state = nodes[node].key.states[capture];
        if (state == KeyState::Present || state == KeyState::CapturesOwn || state == KeyState::Replaced) {
            return;
        }
        state = state == KeyState::Deleted ? KeyState::Replaced : KeyState::Present;
    }
}

void CaptureTree::Delete(std::size_t capture, std::size_t node) {
    MarkPresent(capture, nodes[node].key.parent);
    std::vector<std::size_t> pending = {node};
    while (!pending.empty()) {
        Node& next = nodes[pending.back()];
        pending.pop_back();
        next.key.states[capture] = KeyState::Absent;
        for (auto& [name, value] : next.values) {
            value.data[capture] = none;
        }
        for (const auto& [name, child] : next.children) {
            pending.push_back(child);
        }
    }
    nodes[node].key.states[capture] = KeyState::Deleted;
}

std::size_t CaptureTree::IndexOf(const RegEntry& entry) {
    const auto [found, isNew] = indices.try_emplace(IdentityOf(entry), data.size());
    if (isNew) {
        data.push_back(&entry);
    }
    return found->second;
}

// Moves the keys out of the nodes, which keep the names for Find.
void CaptureTree::Sort() {
    places.assign(nodes.size(), none);
    std::vector<std::size_t> pending = {0};
    while (!pending.empty()) {
        const std::size_t number = pending.back();
        Node& node = nodes[number];
        pending.pop_back();
        if (number != 0) {
            places[number] = keys.size();
            node.key.parent = places[node.key.parent];
            for (auto& [name, value] : node.values) {
                node.key.values.push_back(std::move(value));
            }
            keys.push_back(std::move(node.key));
        }
        for (auto child = node.children.rbegin(); child != node.children.rend(); ++child) {
            pending.push_back(child->second);
        }
    }
}

} // namespace keyreap
