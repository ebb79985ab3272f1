#pragma once

#include "platform/core/text/hash.h"
#include "trace/arena.h"
#include "trace/piecelist.h"
#include "trace/registryfields.h"
#include "trace/registryoperation.h"
#include "trace/traceeventhandler.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace keyreap {

// Turns the registry events of a log into the operations of the watched processes, each with the full name of
// its key.
class RegistryEventHandler : public TraceEventHandler {
public:
    // With `classesAsRoot`, class registrations are reported under HKEY_CLASSES_ROOT.
    explicit RegistryEventHandler(bool classesAsRoot);

    // Registry events and the log's header.
    bool Accepts(const TraceEvent& event) const override;
    void OnDecodedEvent(const TraceEvent& event, const EventValues* values) override;

    // Resolves the names that are still unresolved: those of keys that were open before the trace began come
    // with the rundown at the end of the log, after the operations that used them.
    void OnFinished() override;

    // Puts the name of the operation's key handle, if it is known, in front of its path, and normalises a
    // kernel path. Any other name stays unchanged. The handler owns the text of the new path.
    void ResolveKeyName(RegistryOperation& operation);

    // In the order of the events. The handler owns their texts.
    const PieceList<RegistryOperation>& Operations() const { return operations; }

protected:
    // An operation of a watched process. Adds it to the list.
    virtual void AddOperation(const TraceEvent& event, RegistryFields fields);

    // The kernel's whole name for the name below a handle's key; for handle 0 the name itself. None if the
    // handle has no name, or not yet.
    std::optional<std::wstring> KernelName(std::uint64_t keyHandle, std::wstring_view name);

private:
    RegistryFields ReadFields(const TraceEvent& event, const EventValues* values) const;

    // A key by its root and path. A name that is not a kernel path has no root.
    struct Place {
        std::optional<PredefinedRoot> root;
        std::wstring_view keyPath;
    };

    // The last name of a handle. Most operations name nothing but a handle: they share its place, which is
    // found by the first of them.
    struct KeyName {
        std::wstring name;
        std::optional<Place> place;
    };

    KeyName* NameOf(std::uint64_t keyHandle);
    Place PlaceBelow(KeyName& key, std::wstring_view name);
    Place Normalize(std::wstring_view fullName);

    bool classesAsRoot;
    PieceList<RegistryOperation> operations;
    // The names of the handles of all processes. Nothing is removed before the end of the log.
    std::unordered_map<std::uint64_t, KeyName, Fnv1aHash> keyNames;
    Arena texts; // of operations and places
    // Kept from name to name, so that only results are allocated.
    std::wstring joined;
    std::wstring normalized;
};

} // namespace keyreap
