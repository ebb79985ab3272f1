#include "trace/replay/registrylog.h"

#include "platform/core/text/hash.h"

#include <algorithm>
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
    return static_cast<std::uint32_t>(std::ranges::count_if(
        node.values.Entries(), [](const auto* value) { return value->operations.outcome != Outcome::none; }));
}

// Tells the visitor of the node itself and of its values: the lasting ones ahead of the deleted ones.
void WalkNode(const RegistryLogNode& node, RegistryLogVisitor& visitor, PredefinedRoot root,
              const std::wstring& path) {
    const std::uint32_t valueCount = CountLastingValues(node);
    if (valueCount != 0 || node.operations.outcome != Outcome::none) {
        visitor.OnKey(root, path, node.operations.outcome, valueCount,
                      static_cast<std::uint32_t>(node.subkeys.Size()));
    }
    std::wstring name;
    for (const RegistryLogValue* const value : node.values.Entries()) {
        const Outcome kind = value->operations.outcome;
        if (kind == Outcome::created || kind == Outcome::set) {
            visitor.OnValue(root, path, name.assign(value->name), kind);
        }
    }
    for (const RegistryLogValue* const value : node.values.Entries()) {
        if (value->operations.outcome == Outcome::deleted) {
            visitor.OnValue(root, path, name.assign(value->name), Outcome::deleted);
        }
    }
}

// Visits all nodes below `top`, parents first, calling visit(node, path). By a list of its own and not by
// recursion: names in a log may be thousands of levels deep.
template <typename Visit>
void VisitBelow(const RegistryLogNode& top, Visit visit) {
    struct Waiting {
        const RegistryLogNode* node;
        std::size_t parentLength; // of the parent's path, with which `path` begins when the node's turn comes
    };
    std::vector<Waiting> waiting;
    std::wstring path;
    const auto addSubkeys = [&](const RegistryLogNode& node) {
        const auto& subkeys = node.subkeys.Entries();
        for (std::size_t left = subkeys.size(); left > 0; --left) {
            waiting.push_back({subkeys[left - 1], path.size()});
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
        path += next.node->name;
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
        // What the target made and removes again cancels out.
        return before == Outcome::created || before == Outcome::set ? Outcome::none : Outcome::deleted;
    default:
        return before;
    }
}

RegistryLogNode::RegistryLogNode(NameStore& store, RegistryLogNode* parentNode, const HashedName& ownName)
    : parent(parentNode), name(ownName.text), nameHash(ownName.hash), values(store), subkeys(store) {}

RegistryLog::RegistryLog(const NameRules& nameRules)
    : store{nameRules, {}}, slots{RootSlot{localMachineRoot, RegistryLogNode(store)},
                                  RootSlot{currentUserRoot, RegistryLogNode(store)},
                                  RootSlot{classesRoot, RegistryLogNode(store)},
                                  RootSlot{usersRoot, RegistryLogNode(store)}} {}

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

// The way to the key of the operation before. Operations come in runs along much the same path, and what two
// paths have in common isn't looked up again.
struct RegistryLog::Trail {
    struct Step {
        std::size_t end; // of the component, in the path
        RegistryLogNode* node;
    };

    RegistryLogNode* top = nullptr;
    std::wstring_view path;
    std::vector<Step> steps;

    // Keeps the steps that lead to the next path too: those whose ending backslash the two paths share.
    void Turn(RegistryLogNode& nextTop, std::wstring_view nextPath) {
        if (top == &nextTop && path.data() == nextPath.data() && path.size() == nextPath.size()) {
            return; // one text, shared by both
        }
        std::size_t shared = 0;
        if (top == &nextTop) {
            const auto [end, nextEnd] =
                std::mismatch(path.begin(), path.end(), nextPath.begin(), nextPath.end());
            shared = static_cast<std::size_t>(end - path.begin());
        }
        while (!steps.empty() && steps.back().end >= shared) {
            steps.pop_back();
        }
        top = &nextTop;
        path = nextPath;
    }
};

void RegistryLog::RecordOperations(std::span<const RegistryOperation> operations) {
    Trail trail;
    for (const RegistryOperation& operation : operations) {
        if (IsKept(operation) && !operation.keyPath.empty()) {
            Record(operation, trail);
        }
    }
}

void RegistryLog::Record(const RegistryOperation& operation, Trail& trail) {
    RegistryLogNode& node = NodeFor(operation, trail);
    OperationList& list =
        ConcernsValue(operation.type) ? GetOrAddValue(node, operation.valueName).operations : node.operations;
    Append(list, {operation.type, operation.status, operation.initialTime, operation.processId});
}

RegistryLogNode& RegistryLog::NodeFor(const RegistryOperation& operation, Trail& trail) {
    RegistryLogNode& top = slots[SlotFor(operation.root)].node;
    trail.Turn(top, operation.keyPath);
    const auto remember = [&trail](std::size_t end, RegistryLogNode* node) {
        trail.steps.push_back({end, node});
    };
    if (trail.steps.empty()) {
        return *Descend(&top, operation.keyPath, 0, true, remember);
    }
    const Trail::Step last = trail.steps.back();
    return *Descend(last.node, operation.keyPath, last.end + 1, true, remember);
}

void RegistryLog::Append(OperationList& list, const OperationEntry& entry) {
    list.entries.Add(entry, store.arena);
    list.outcome = OutcomeAfter(list.outcome, entry.type);
}

RegistryLogNode* RegistryLog::FindNode(PredefinedRoot root, std::wstring_view path, bool create) {
    return Descend(&slots[SlotFor(root)].node, path, 0, create, [](std::size_t, RegistryLogNode*) {});
}

// Goes down from a node by the components of the path from a position on, and tells each one's end and node.
template <typename OnStep>
RegistryLogNode* RegistryLog::Descend(RegistryLogNode* node, std::wstring_view path, std::size_t position,
                                      bool create, OnStep onStep) {
    const std::size_t start = std::min(position, path.size());
    folded.assign(path.substr(start));
    store.rules.Fold(folded);
    while (node != nullptr && position < path.size()) {
        const std::size_t end = std::min(path.find(L'\\', position), path.size());
        const std::size_t length = end - position;
        const std::wstring_view foldedName = std::wstring_view(folded).substr(position - start, length);
        node = Subkey(*node, {path.substr(position, length), HashFolded(foldedName)}, create);
        onStep(end, node);
        position = end + 1;
    }
    return node;
}

RegistryLogNode* RegistryLog::Subkey(RegistryLogNode& node, const HashedName& name, bool create) {
    RegistryLogNode* found = node.subkeys.Find(name);
    if (found != nullptr || !create) {
        return found;
    }
    const HashedName kept{store.arena.Keep(name.text), name.hash};
    auto* const made = store.arena.Make<RegistryLogNode>(store, &node, kept);
    node.subkeys.Add(*made);
    return made;
}

RegistryLogValue& RegistryLog::GetOrAddValue(RegistryLogNode& node, std::wstring_view name) {
    folded.assign(name);
    store.rules.Fold(folded);
    const HashedName hashed{name, HashFolded(folded)};
    if (RegistryLogValue* found = node.values.Find(hashed)) {
        return *found;
    }
    auto* const made =
        store.arena.Make<RegistryLogValue>(RegistryLogValue{store.arena.Keep(name), hashed.hash, {}});
    node.values.Add(*made);
    return *made;
}

void RegistryLog::Remove(RegistryLogNode& node) {
    if (node.parent != nullptr) {
        node.parent->subkeys.Remove({node.name, node.nameHash});
    }
}

void RegistryLog::MergeSubkeys(RegistryLogNode& target, RegistryLogNode& source) {
    for (RegistryLogNode* const subkey : source.subkeys.Entries()) {
        target.subkeys.AddOrReplace(*subkey);
        subkey->parent = &target;
    }
    source.subkeys.Clear();
    Remove(source);
}

std::size_t RegistryLog::CountValues(const RegistryLogNode& node) {
    std::size_t count = node.values.Size();
    VisitBelow(node,
               [&count](const RegistryLogNode& below, const std::wstring&) { count += below.values.Size(); });
    return count;
}

void RegistryLog::PruneEmptyKey(PredefinedRoot root, std::wstring_view path) {
    RegistryLogNode* node = FindNode(root, path, false);
    if (node == nullptr || CountValues(*node) != 0) {
        return;
    }
    node->subkeys.Clear();
    // The key's own operations are no reason to keep it.
    while (node->parent != nullptr && node->values.IsEmpty() && node->subkeys.IsEmpty()) {
        RegistryLogNode* const above = node->parent;
        Remove(*node);
        node = above;
    }
}

void RegistryLog::Walk(RegistryLogVisitor& visitor) const {
    for (const RootSlot& slot : slots) {
        VisitBelow(slot.node, [&](const RegistryLogNode& node, const std::wstring& path) {
            WalkNode(node, visitor, slot.root, path);
        });
    }
}

} // namespace keyreap
