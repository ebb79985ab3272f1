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
#include <vector>

namespace keyreap {

// Turns the registry events of a log into the operations of the watched processes, each with the full name of
// its key.
class RegistryEventHandler : public TraceEventHandler {
public:
    // With `classesAsRoot`, class registrations are reported under HKEY_CLASSES_ROOT.
    explicit RegistryEventHandler(bool classesAsRoot);

    // Registry events and the log's header.
    bool Accepts(const TraceEvent& event) const override {
        return event.guid == RegistryGuid || IsLogHeader(event);
    }

    void OnDecodedEvent(const TraceEvent& event, const EventValues* values) override {
        if (!IsRegistryEventType(event.type)) {
            return;
        }
        if (NamesHandle(event.type)) {
            NameHandle(event, values); // from any process, watched or not
        } else if (IsWatchedProcess(event.processId)) {
            ReadOperation(event, values);
        }
    }

    // Resolves the names that are still unresolved: those of keys that were open before the trace began come
    // with the rundown at the end of the log, after the operations that used them.
    void OnFinished() override;

    // Puts the name of the operation's key handle, if it is known, in front of its path, and normalises a
    // kernel path. Any other name stays unchanged. The handler owns the text of the new path.
    void ResolveKeyName(RegistryOperation& operation);

    // In the order of the events. The handler owns their texts.
    const PieceList<RegistryOperation>& Operations() const { return operations.list; }

    // Moves the operations and their texts to the caller, after OnFinished. The names of all handles are
    // forgotten.
    RecordedOperations TakeOperations();

protected:
    // An operation of a watched process. Adds it to the list. Nobody reads the fields afterwards.
    virtual void AddOperation(const TraceEvent& event, RegistryFields& fields);

    // The kernel's whole name for the name below a handle's key; for handle 0 the name itself. None if the
    // handle has no name, or not yet.
    std::optional<std::wstring> KernelName(std::uint64_t keyHandle, std::wstring_view name);

private:
    static constexpr bool IsRegistryEventType(std::uint8_t type) {
        return type >= registryevent::createKey && type <= registryevent::querySecurity;
    }

    // The events of key control blocks name a handle. They are not operations.
    static constexpr bool NamesHandle(std::uint8_t type) {
        return type >= registryevent::kcbCreate && type <= registryevent::kcbRundownEnd;
    }

    void NameHandle(const TraceEvent& event, const EventValues* values);
    void ReadOperation(const TraceEvent& event, const EventValues* values);
    HandleName* NameOf(std::uint64_t keyHandle);
    KeyPlace PlaceBelow(HandleName& key, std::wstring_view name);
    void Join(const HandleName& key, std::wstring_view name);
    KeyPlace Normalize(std::wstring_view fullName);

    bool classesAsRoot;
    RecordedOperations operations;
    std::vector<RegistryOperation*> unnamed; // whose handles have no name yet
    HandleNames keyNames;                    // of all processes
    RecentTexts paths{operations.paths};
    RecentTexts valueNames{operations.valueNames};
    // Kept from event to event, so that only results are allocated.
    RegistryFields fields;
    std::wstring joined;
    std::wstring normalized;
};

} // namespace keyreap
