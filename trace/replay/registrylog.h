#pragma once

#include "trace/arena.h"
#include "trace/predefinedroot.h"
#include "trace/registryoperation.h"
#include "trace/replay/namemap.h"
#include "trace/replay/namerules.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace keyreap {

// The net effect of all operations on a key or a value so far.
enum class Outcome : std::uint32_t {
    none = 0,    // nothing that lasts, or made and removed again
    created = 1, // a key was created
    set = 2,     // a value was set
    deleted = 3, // removed, having existed before
};

// What is the outcome behind an operation, by the outcome before it.
Outcome OutcomeAfter(Outcome before, std::uint32_t operationType);

struct OperationEntry {
    std::uint32_t type;
    std::uint32_t status;
    std::int64_t initialTime;
    std::uint32_t processId;
};

// Operations in the order of their events, and what they come to.
struct OperationList {
    ArenaList<OperationEntry> entries;
    Outcome outcome = Outcome::none;
};

// Values and nodes lie in the log's memory with all that belongs to them, and go with the log.
struct RegistryLogValue {
    std::wstring_view name;
    std::uint64_t nameHash;
    OperationList operations;
};

struct RegistryLogNode {
    // A root node has no parent and no name.
    explicit RegistryLogNode(NameStore& store, RegistryLogNode* parentNode = nullptr,
                             const HashedName& ownName = {});
    RegistryLogNode(const RegistryLogNode&) = delete;
    RegistryLogNode& operator=(const RegistryLogNode&) = delete;

    RegistryLogNode* parent;
    std::wstring_view name; // one path component, spelled as it first appeared
    std::uint64_t nameHash;
    OperationList operations; // on the key itself
    NameMap<RegistryLogValue> values;
    NameMap<RegistryLogNode> subkeys;
};

// What a walk over the log calls. Paths are relative to the root, with no backslash at either end.
class RegistryLogVisitor {
public:
    virtual ~RegistryLogVisitor() = default;

    // A key, ahead of its values. `valueCount` is the number of its values with a lasting outcome,
    // `childCount` that of its subkeys, whatever became of them.
    virtual void OnKey(PredefinedRoot root, const std::wstring& keyPath, Outcome keyState,
                       std::uint32_t valueCount, std::uint32_t childCount) = 0;

    // A value with a lasting outcome, of the key reported last.
    virtual void OnValue(PredefinedRoot root, const std::wstring& keyPath, const std::wstring& valueName,
                         Outcome kind) = 0;
};

// The tree of net outcomes: what became of each key and each value that a trace's operations touched. It
// holds no data of values. Names are told apart by the injected rules alone. One thread at a time.
class RegistryLog {
public:
    // `nameRules` outlives the log.
    explicit RegistryLog(const NameRules& nameRules);

    // Files the operations, in order. A failed operation leaves no trace, save a create that failed with
    // STATUS_OBJECT_NAME_NOT_FOUND, which counts as a create; nor does one without a key's name.
    void RecordOperations(std::span<const RegistryOperation> operations);

    // The node of a key, or null. With `create`, missing nodes are made, and the result is never null. Any
    // root but the four stands for HKEY_LOCAL_MACHINE. An empty path gives the root's node.
    RegistryLogNode* FindNode(PredefinedRoot root, std::wstring_view path, bool create);

    RegistryLogValue& GetOrAddValue(RegistryLogNode& node, std::wstring_view name);

    void Append(OperationList& list, const OperationEntry& entry);

    // Moves the subkeys of `source` under `target`, another node not below it. A subkey of `source` replaces
    // one of the same name whole. Then `source` goes, with its own operations and values.
    void MergeSubkeys(RegistryLogNode& target, RegistryLogNode& source);

    // How many values the node and all nodes below it have an entry for, whatever their outcome.
    static std::size_t CountValues(const RegistryLogNode& node);

    // Removes a key below which no value was recorded, not even read, and those of its parents that hold
    // nothing else.
    void PruneEmptyKey(PredefinedRoot root, std::wstring_view path);

    // Visits each key of the tree that has a lasting outcome or values that have one, keys ahead of their
    // subkeys, the roots in the order of the slots.
    void Walk(RegistryLogVisitor& visitor) const;

private:
    struct RootSlot {
        PredefinedRoot root;
        RegistryLogNode node;
    };

    struct Trail;

    static std::size_t SlotFor(PredefinedRoot root);
    void Record(const RegistryOperation& operation, Trail& trail);
    RegistryLogNode& NodeFor(const RegistryOperation& operation, Trail& trail);
    template <typename OnStep>
    RegistryLogNode* Descend(RegistryLogNode* node, std::wstring_view path, std::size_t position, bool create,
                             OnStep onStep);
    RegistryLogNode* Subkey(RegistryLogNode& node, const HashedName& name, bool create);
    static void Remove(RegistryLogNode& node);

    NameStore store;
    std::array<RootSlot, 4> slots;
    std::wstring folded; // kept from look-up to look-up, so that a hit allocates nothing
};

} // namespace keyreap
