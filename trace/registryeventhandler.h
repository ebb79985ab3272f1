#pragma once

#include "platform/core/hash.h"
#include "trace/registryfields.h"
#include "trace/registryoperation.h"
#include "trace/traceeventhandler.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

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

    // Second chance for the names of keys that were open before the trace began: they come with the rundown
    // at the end of the log, behind the operations that used them.
    void OnFinished() override;

    // Puts the name of the operation's key handle, if it is known, in front of its path, and normalises a
    // kernel path. A name that is neither stays as it is.
    void ResolveKeyName(RegistryOperation& operation) const;

    std::vector<RegistryOperation> operations; // in the order of the events

private:
    RegistryFields ReadFields(const TraceEvent& event, const EventValues* values) const;
    void AddOperation(const TraceEvent& event, RegistryFields fields);

    bool classesAsRoot;
    // The last name seen of each handle, whichever process made it. Nothing is removed before the end.
    std::unordered_map<std::uint64_t, std::wstring, Fnv1aHash> keyNames;
};

} // namespace keyreap
