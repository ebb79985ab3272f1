#pragma once

#include "trace/arena.h"
#include "trace/handlenames.h"
#include "trace/piecelist.h"
#include "trace/recenttexts.h"
#include "trace/registryfields.h"
#include "trace/registryoperation.h"
#include "trace/traceeventhandler.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
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
    PieceList<RegistryOperation> TakeOperations() { return std::exchange(operations, {}); }

protected:
    // An operation of a watched process. Adds it to the list. Nobody reads the fields afterwards.
    virtual void AddOperation(const TraceEvent& event, RegistryFields& fields);

    // The kernel's whole name for the name below a handle's key; for handle 0 the name itself. None if the
    // handle has no name, or not yet.
    std::optional<std::wstring> KernelName(std::uint64_t keyHandle, std::wstring_view name);

private:
    void NameHandle(const TraceEvent& event, const EventValues* values);
    void ReadOperation(const TraceEvent& event, const EventValues* values);
    HandleName* NameOf(std::uint64_t keyHandle);
    KeyPlace PlaceBelow(HandleName& key, std::wstring_view name);
    KeyPlace Normalize(std::wstring_view fullName);

    bool classesAsRoot;
    PieceList<RegistryOperation> operations;
    HandleNames keyNames; // of all processes
    Arena texts;          // of operations and places
    RecentTexts paths{texts};
    RecentTexts valueNames{texts};
    // Kept from event to event, so that only results are allocated.
    RegistryFields fields;
    std::wstring joined;
    std::wstring normalized;
};

} // namespace keyreap
