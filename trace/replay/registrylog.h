#pragma once

#include "trace/arena.h"
#include "trace/predefinedroot.h"
#include "trace/recenttexts.h"
#include "trace/registryoperation.h"
#include "trace/replay/namemap.h"
#include "trace/replay/namerules.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// The net effect of all operations on a key or a value so far.
enum class Outcome : std::uint32_t {
    none = 0,    // nothing lasting: only read, or created and removed again
    created = 1, // a key was created
    set = 2,     // a value was set
    deleted = 3, // a key or a value that existed before was removed
};

// The outcome after an operation, given the outcome before it.
Outcome OutcomeAfter(Outcome before, std::uint32_t operationType);

struct OperationEntry {
    std::uint32_t type;
    std::uint32_t status;
    std::int64_t initialTime;
    std::uint32_t processId;
};

// Operations in the order of their events, and their net outcome.
class OperationList {
public:
    void Append(const OperationEntry& entry, Arena& arena);

    std::size_t Size() const { return count; }
    std::vector<OperationEntry> Entries() const; // copies
    Outcome NetOutcome() const { return outcome; }

private:
    // Each points at the one before, so that an addition touches no other entry.
    struct Link {
        const Link* before;
        OperationEntry entry;
    };

    const Link* last = nullptr;
    std::uint32_t count = 0; // no log has more events
    Outcome outcome = Outcome::none;
};

// Values and nodes, with all that belongs to them, are in the log's memory and are freed with the log. Only
// the log changes them.
class RegistryLogValue : public MapEntry<RegistryLogValue> {
public:
    explicit RegistryLogValue(const HashedName& name) : name(name) {}

    const HashedName& Name() const { return name; }
    const OperationList& Operations() const { return operations; }

private:
    friend class RegistryLog;

    HashedName name;
    OperationList operations;
};

class RegistryLogNode : public MapEntry<RegistryLogNode> {
public:
    // A root node has no parent and no name.
    explicit RegistryLogNode(NameStore& store, RegistryLogNode* parent = nullptr,
                             const HashedName& name = {});
    RegistryLogNode(const RegistryLogNode&) = delete;
    RegistryLogNode& operator=(const RegistryLogNode&) = delete;

    const RegistryLogNode* Parent() const { return parent; }

    // One path component, spelled as it first appeared.
    const HashedName& Name() const { return name; }

    // On the key itself.
    const OperationList& Operations() const { return operations; }

    const NameMap<RegistryLogValue>& Values() const { return values; }
    const NameMap<RegistryLogNode>& Subkeys() const { return subkeys; }

private:
    friend class RegistryLog;

    RegistryLogNode* parent;
    HashedName name;
    OperationList operations;
    NameMap<RegistryLogValue> values;
    NameMap<RegistryLogNode> subkeys;
};

// What a walk over the log calls. Paths are relative to the root, with no backslash at either end.
class RegistryLogVisitor {
public:
    virtual ~RegistryLogVisitor() = default;

    // A key, before its values. `valueCount` is the number of its values with a lasting outcome, `childCount`
    // the number of its subkeys, whatever their outcome.
    virtual void OnKey(PredefinedRoot root, const std::wstring& keyPath, Outcome keyState,
                       std::uint32_t valueCount, std::uint32_t childCount) = 0;

    // A value with a lasting outcome, of the key reported last. Of several, the one that appeared last in the
    // trace comes first.
    virtual void OnValue(PredefinedRoot root, const std::wstring& keyPath, const std::wstring& valueName,
                         Outcome kind) = 0;
};

// The tree of net outcomes: what became of each key and each value that a trace's operations touched. It
// has no data of values. Only the injected rules compare names. One thread at a time.
class RegistryLog {
public:
    // `nameRules` outlives the log.
    explicit RegistryLog(const NameRules& nameRules);

    // Records the operations, in order. An operation without a key's name is dropped, and so is a failed one,
    // except a create that failed with STATUS_OBJECT_NAME_NOT_FOUND: it counts as a create. Texts are
    // copied, but for those of operations that the log takes: they must be in the arenas that come with them.
    void RecordOperations(std::span<const RegistryOperation> operations);
    void RecordOperations(RecordedOperations operations); // each piece is freed once it is recorded

    // The node of a key, or null; GetOrAddNode creates missing nodes. Any root but the four stands for
    // HKEY_LOCAL_MACHINE. An empty path gives the root's node.
    RegistryLogNode* FindNode(PredefinedRoot root, std::wstring_view path);
    RegistryLogNode& GetOrAddNode(PredefinedRoot root, std::wstring_view path);

    RegistryLogValue& GetOrAddValue(RegistryLogNode& node, std::wstring_view name);

    // Moves the subkeys of `source` under `target`, which is another node and not below `source`. A subkey of
    // `source` replaces the whole subtree of the same name. Then `source` is removed, with its own operations
    // and values.
    void MergeSubkeys(RegistryLogNode& target, RegistryLogNode& source);

    // The number of values recorded for the node and all nodes below it, with any outcome.
    static std::size_t CountValues(const RegistryLogNode& node);

    // Removes a key if no operation on a value, not even a read, was recorded at it or below it, and then
    // those of its parents that hold nothing else.
    void PruneEmptyKey(PredefinedRoot root, std::wstring_view path);

    // Visits each key that has a lasting outcome or values that have one, keys before their subkeys, the
    // roots in the order of the slots.
    void Walk(RegistryLogVisitor& visitor) const;

private:
    struct RootSlot {
        PredefinedRoot root;
        RegistryLogNode node;
    };

    struct Trail;

    // Whether a name's text lives as long as the log, or must be copied.
    enum class Texts { kept, passing };

    static std::size_t SlotFor(PredefinedRoot root);
    void RecordOperations(std::span<const RegistryOperation> operations, Trail& trail);
    void Record(const RegistryOperation& operation, Trail& trail);
    HashedName NameOfValue(const RegistryOperation& operation, Trail& trail);
    RegistryLogNode& NodeFor(const RegistryOperation& operation, Trail& trail);
    template <typename NextNode>
    RegistryLogNode* Descend(RegistryLogNode& start, std::wstring_view path, std::size_t position,
                             NextNode nextNode);
    HashedName Hashed(std::wstring_view name);
    RegistryLogNode& GetOrAddSubkey(RegistryLogNode& node, const HashedName& name, Texts texts);
    RegistryLogValue& GetOrAddValue(RegistryLogNode& node, const HashedName& name, Texts texts);
    HashedName Kept(const HashedName& name, Texts texts);
    static void Remove(RegistryLogNode& node);

    std::vector<RecordedOperations> taken; // for their texts
    NameStore store;
    RecentTexts names{store.arena}; // of nodes and values
    std::array<RootSlot, 4> slots;
    std::wstring folded; // kept from look-up to look-up, so that a hit allocates nothing
};

} // namespace keyreap
