#include "trace/replay/registrylog.h"

#include "platform/core/text/hash.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace keyreap {

namespace {

constexpr std::uint32_t statusObjectNameNotFound = 0xC0000034; // ntstatus.h

std::uint64_t HashFolded(std::wstring_view foldedName) {
    Fnv1a hash;
    hash.AddText(foldedName);
    return hash.Value();
}

// A create that failed for want of a name counts as a create; any other failure leaves no trace.
bool IsKept(const RegistryOperation& operation) {
    return operation.status == 0 ||
           (operation.status == statusObjectNameNotFound && operation.type == registryevent::createKey);
}

std::uint32_t CountLastingValues(const RegistryLogNode& node) {
    std::uint32_t count = 0;
    for (const RegistryLogValue& value : node.Values()) {
        count += value.Operations().NetOutcome() != Outcome::none ? 1 : 0;
    }
    return count;
}

// Whether a component that isn't empty ends at the position.
bool EndsAt(std::wstring_view path, std::size_t position) {
    const bool isEnd = position == path.size() || path[position] == L'\\';
    return isEnd && position != 0 && path[position - 1] != L'\\';
}

// The number of units with which both begin.
std::size_t SharedLength(std::wstring_view path, std::wstring_view next) {
    const std::size_t shorter = std::min(path.size(), next.size());
    if (path.substr(0, shorter) == next.substr(0, shorter)) {
        return shorter; // a key and one below it
    }
    const auto end = std::mismatch(path.begin(), path.end(), next.begin(), next.end()).first;
    return static_cast<std::size_t>(end - path.begin());
}

// Calls visit(name, outcome) for each value, the one that appeared last first. A host moves all values after
// the one that it removes: in this order their removal costs it no more than their setting did.
// The name is in `text`, which is kept from key to key.
template <typename Visit>
void VisitNewestFirst(const NameMap<RegistryLogValue>& values, std::wstring& text, Visit visit) {
    for (const RegistryLogValue& value : values) {
        visit(text.assign(value.Name().text), value.Operations().NetOutcome());
    }
}

// Reports the node itself and its values to the visitor: the set values before the deleted ones.
void WalkNode(const RegistryLogNode& node, RegistryLogVisitor& visitor, PredefinedRoot root,
              const std::wstring& path, std::wstring& text) {
    const std::uint32_t valueCount = CountLastingValues(node);
    const Outcome keyState = node.Operations().NetOutcome();
    if (valueCount != 0 || keyState != Outcome::none) {
        visitor.OnKey(root, path, keyState, valueCount, static_cast<std::uint32_t>(node.Subkeys().Size()));
    }
    if (valueCount == 0) {
        return;
    }
    VisitNewestFirst(node.Values(), text, [&](const std::wstring& name, Outcome kind) {
        if (kind == Outcome::created || kind == Outcome::set) {
            visitor.OnValue(root, path, name, kind);
        }
    });
    VisitNewestFirst(node.Values(), text, [&](const std::wstring& name, Outcome kind) {
        if (kind == Outcome::deleted) {
            visitor.OnValue(root, path, name, kind);
        }
    });
}

// Visits all nodes below `top`, parents first, calling visit(node, path). Without recursion: names in a log
// may be thousands of levels deep.
template <typename Visit>
void VisitBelow(const RegistryLogNode& top, Visit visit) {
    struct Waiting {
        const RegistryLogNode* node;
        std::size_t parentLength; // of the parent's path, with which `path` begins when the node is visited
    };
    std::vector<Waiting> waiting;
    std::wstring path;
    const auto addSubkeys = [&](const RegistryLogNode& node) {
        // The last one that is put here is visited first.
        for (const RegistryLogNode& subkey : node.Subkeys()) {
            waiting.push_back({&subkey, path.size()});
        }
    };
    addSubkeys(top);
    while (!waiting.empty()) {
        const Waiting next = waiting.back();
        waiting.pop_back();
        path.resize(next.parentLength);
        if (!path.empty() && path.back() != L'\\') {
            path += L'\\';
        }
        path += next.node->Name().text;
        visit(*next.node, path);
        addSubkeys(*next.node);
    }
}

} // namespace

Outcome OutcomeAfter(Outcome before, std::uint32_t operationType) {
    switch (operationType) {
    case registryevent::createKey:
        return Outcome::created;
    case registryevent::setValue:
        return Outcome::set;
    case registryevent::deleteKey:
    case registryevent::deleteValue:
        // What the target created and removes again cancels out.
        return before == Outcome::created || before == Outcome::set ? Outcome::none : Outcome::deleted;
    default:
        return before;
    }
}

void OperationList::Append(const OperationEntry& entry, Arena& arena) {
    last = arena.Make<Link>(last, entry);
    ++count;
    outcome = OutcomeAfter(outcome, entry.type);
}

std::vector<OperationEntry> OperationList::Entries() const {
    std::vector<OperationEntry> entries(count);
    auto place = entries.rbegin();
    for (const Link* link = last; link != nullptr; link = link->before) {
        *place++ = link->entry;
    }
    return entries;
}

RegistryLogNode::RegistryLogNode(NameStore& store, RegistryLogNode* parent, const HashedName& name)
    : parent(parent), name(name), values(store), subkeys(store) {}

RegistryLog::RegistryLog(const NameRules& nameRules)
    : store{nameRules, {}}, slots{RootSlot{localMachineRoot, RegistryLogNode(store)},
                                  {currentUserRoot, RegistryLogNode(store)},
                                  {classesRoot, RegistryLogNode(store)},
                                  {usersRoot, RegistryLogNode(store)}} {}

std::size_t RegistryLog::SlotFor(PredefinedRoot root) {
    switch (root) {
    case currentUserRoot:
        return 1;
    case classesRoot:
        return 2;
    case usersRoot:
        return 3;
    default:
        return 0;
    }
}

// What was found for the operations before. Operations come in runs along similar paths, and the common part
// of two paths isn't looked up again. Most values have one of a few names: operations share their texts, and
// a shared text isn't hashed again.
struct RegistryLog::Trail {
    struct Step {
        std::size_t end; // of the component, in the path
        RegistryLogNode* node;
    };

    RegistryLogNode* top = nullptr;
    std::wstring_view path;
    std::vector<Step> steps;
    std::array<HashedName, 64> valueNames;
    Texts texts;

    explicit Trail(Texts texts) : texts(texts) { valueNames.fill({{}, HashFolded({})}); }

    // Where the hash of a text is, if it was found.
    HashedName& Remembered(std::wstring_view valueName) {
        constexpr std::size_t leastDistance = 8; // of two texts in an arena, in bytes
        return valueNames[reinterpret_cast<std::uintptr_t>(valueName.data()) / leastDistance %
                          valueNames.size()];
    }

    // Keeps the steps of the components that both paths begin with.
    void Turn(RegistryLogNode& nextTop, std::wstring_view nextPath) {
        if (top == &nextTop && path.data() == nextPath.data() && path.size() == nextPath.size()) {
            return; // one text, shared by both
        }
        const std::size_t shared = top == &nextTop ? SharedLength(path, nextPath) : 0;
        const std::size_t end = EndsAt(nextPath, shared) ? shared + 1 : shared;
        while (!steps.empty() && steps.back().end >= end) {
            steps.pop_back();
        }
        top = &nextTop;
        path = nextPath;
    }
};

void RegistryLog::RecordOperations(std::span<const RegistryOperation> operations) {
    Trail trail(Texts::passing);
    RecordOperations(operations, trail);
}

void RegistryLog::RecordOperations(RecordedOperations operations) {
    Trail trail(Texts::kept);
    PieceList<RegistryOperation>& list = taken.emplace_back(std::move(operations)).list;
    for (std::size_t number = 0; number < list.PieceCount(); ++number) {
        RecordOperations(list.Piece(number), trail);
        list.FreePiece(number);
    }
}

void RegistryLog::RecordOperations(std::span<const RegistryOperation> operations, Trail& trail) {
    for (const RegistryOperation& operation : operations) {
        if (IsKept(operation) && !operation.keyPath.empty()) {
            Record(operation, trail);
        }
    }
}

void RegistryLog::Record(const RegistryOperation& operation, Trail& trail) {
    RegistryLogNode& node = NodeFor(operation, trail);
    OperationList& list = ConcernsValue(operation.type)
                              ? GetOrAddValue(node, NameOfValue(operation, trail), trail.texts).operations
                              : node.operations;
    list.Append({operation.type, operation.status, operation.initialTime, operation.processId}, store.arena);
}

HashedName RegistryLog::NameOfValue(const RegistryOperation& operation, Trail& trail) {
    const std::wstring_view name = operation.valueName;
    HashedName& remembered = trail.Remembered(name);
    if (name.data() != remembered.text.data() || name.size() != remembered.text.size()) {
        remembered = Hashed(name);
    }
    return remembered;
}

RegistryLogNode& RegistryLog::NodeFor(const RegistryOperation& operation, Trail& trail) {
    RegistryLogNode& top = slots[SlotFor(operation.root)].node;
    trail.Turn(top, operation.keyPath);
    const auto nextNode = [&](RegistryLogNode& node, const HashedName& name, std::size_t end) {
        RegistryLogNode* const next = &GetOrAddSubkey(node, name, trail.texts);
        trail.steps.push_back({end, next});
        return next;
    };
    if (trail.steps.empty()) {
        return *Descend(top, operation.keyPath, 0, nextNode);
    }
    const Trail::Step last = trail.steps.back();
    const std::size_t next = last.end + 1; // past the end for most operations, which are on the key before
    return next < operation.keyPath.size() ? *Descend(*last.node, operation.keyPath, next, nextNode)
                                           : *last.node;
}

RegistryLogNode* RegistryLog::FindNode(PredefinedRoot root, std::wstring_view path) {
    return Descend(
        slots[SlotFor(root)].node, path, 0,
        [](RegistryLogNode& node, const HashedName& name, std::size_t) { return node.subkeys.Find(name); });
}

RegistryLogNode& RegistryLog::GetOrAddNode(PredefinedRoot root, std::wstring_view path) {
    return *Descend(slots[SlotFor(root)].node, path, 0,
                    [this](RegistryLogNode& node, const HashedName& name, std::size_t) {
                        return &GetOrAddSubkey(node, name, Texts::passing);
                    });
}

// Follows the components of the path from a position on, with nextNode(node, name, end of the component) as
// each step. Stops with null when a step returns null.
template <typename NextNode>
RegistryLogNode* RegistryLog::Descend(RegistryLogNode& start, std::wstring_view path, std::size_t position,
                                      NextNode nextNode) {
    const std::size_t first = std::min(position, path.size());
    folded.assign(path.substr(first));
    store.rules.Fold(folded);
    RegistryLogNode* node = &start;
    while (node != nullptr && position < path.size()) {
        const std::size_t end = std::min(path.find(L'\\', position), path.size());
        const std::size_t length = end - position;
        const std::wstring_view foldedName = std::wstring_view(folded).substr(position - first, length);
        node = nextNode(*node, HashedName{path.substr(position, length), HashFolded(foldedName)}, end);
        position = end + 1;
    }
    return node;
}

HashedName RegistryLog::Kept(const HashedName& name, Texts texts) {
    return texts == Texts::kept ? name : HashedName{names.Keep(name.text), name.hash};
}

RegistryLogNode& RegistryLog::GetOrAddSubkey(RegistryLogNode& node, const HashedName& name, Texts texts) {
    if (RegistryLogNode* const found = node.subkeys.Find(name)) {
        return *found;
    }
    auto* const made = store.arena.Make<RegistryLogNode>(store, &node, Kept(name, texts));
    node.subkeys.Add(*made);
    return *made;
}

HashedName RegistryLog::Hashed(std::wstring_view name) {
    folded.assign(name);
    store.rules.Fold(folded);
    return {name, HashFolded(folded)};
}

RegistryLogValue& RegistryLog::GetOrAddValue(RegistryLogNode& node, std::wstring_view name) {
    return GetOrAddValue(node, Hashed(name), Texts::passing);
}

RegistryLogValue& RegistryLog::GetOrAddValue(RegistryLogNode& node, const HashedName& name, Texts texts) {
    if (RegistryLogValue* const found = node.values.Find(name)) {
        return *found;
    }
    auto* const made = store.arena.Make<RegistryLogValue>(Kept(name, texts));
    node.values.Add(*made);
    return *made;
}

void RegistryLog::Remove(RegistryLogNode& node) {
    if (node.parent != nullptr) {
        node.parent->subkeys.Remove(node.name);
    }
}

void RegistryLog::MergeSubkeys(RegistryLogNode& target, RegistryLogNode& source) {
    std::vector<RegistryLogNode*> moved;
    for (RegistryLogNode& subkey : source.subkeys) {
        moved.push_back(&subkey);
    }
    // In the order of their addition.
    for (auto subkey = moved.rbegin(); subkey != moved.rend(); ++subkey) {
        target.subkeys.AddOrReplace(**subkey);
        (*subkey)->parent = &target;
    }
    source.subkeys.Clear();
    Remove(source);
}

std::size_t RegistryLog::CountValues(const RegistryLogNode& node) {
    std::size_t count = node.values.Size();
    VisitBelow(node, [&count](const RegistryLogNode& below, const std::wstring&) {
        count += below.Values().Size();
    });
    return count;
}

void RegistryLog::PruneEmptyKey(PredefinedRoot root, std::wstring_view path) {
    RegistryLogNode* node = FindNode(root, path);
    if (node == nullptr || CountValues(*node) != 0) {
        return;
    }
    node->subkeys.Clear();
    // Operations on a key itself don't keep it.
    while (node->parent != nullptr && node->values.IsEmpty() && node->subkeys.IsEmpty()) {
        RegistryLogNode* const above = node->parent;
        Remove(*node);
        node = above;
    }
}

void RegistryLog::Walk(RegistryLogVisitor& visitor) const {
    std::wstring text;
    for (const RootSlot& slot : slots) {
        VisitBelow(slot.node, [&](const RegistryLogNode& node, const std::wstring& path) {
            WalkNode(node, visitor, slot.root, path, text);
        });
    }
}

} // namespace keyreap
