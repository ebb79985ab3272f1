#include "trace/registryeventhandler.h"

#include "trace/kernelpath.h"

#include <utility>

namespace keyreap {

namespace {

bool IsRegistryEventType(std::uint8_t type) {
    return type >= registryevent::createKey && type <= registryevent::querySecurity;
}

// The events of key control blocks tell the name of a handle and are no operations.
bool NamesHandle(std::uint8_t type) {
    return type >= registryevent::kcbCreate && type <= registryevent::kcbRundownEnd;
}

} // namespace

RegistryEventHandler::RegistryEventHandler(bool classesAsRootWanted) : classesAsRoot(classesAsRootWanted) {}

bool RegistryEventHandler::Accepts(const TraceEvent& event) const {
    return event.guid == RegistryGuid || IsLogHeader(event);
}

RegistryFields RegistryEventHandler::ReadFields(const TraceEvent& event, const EventValues* values) const {
    return values == nullptr ? ReadFixedFields(event, pointerSize) : ReadSchemaFields(*values, pointerSize);
}

void RegistryEventHandler::OnDecodedEvent(const TraceEvent& event, const EventValues* values) {
    if (!IsRegistryEventType(event.type)) {
        return;
    }
    if (NamesHandle(event.type)) {
        // Whoever made the handle; an empty name counts like any other.
        RegistryFields fields = ReadFields(event, values);
        keyNames[fields.keyHandle] = {std::move(fields.name), std::nullopt};
    } else if (IsWatchedProcess(event.processId)) {
        AddOperation(event, ReadFields(event, values));
    }
}

void RegistryEventHandler::AddOperation(const TraceEvent& event, RegistryFields fields) {
    RegistryOperation operation;
    operation.type = event.type;
    operation.index = fields.index;
    operation.status = fields.status;
    operation.initialTime = fields.initialTime;
    operation.processId = event.processId;
    operation.keyHandle = fields.keyHandle;
    if (ConcernsValue(event.type)) {
        operation.valueName = texts.Keep(fields.name);
        fields.name.clear();
    }
    Resolve(operation, fields.name);
    operations.push_back(operation);
}

void RegistryEventHandler::OnFinished() {
    for (RegistryOperation& operation : operations) {
        if (operation.keyHandle != 0) {
            ResolveKeyName(operation);
        }
    }
    keyNames.clear();
}

void RegistryEventHandler::ResolveKeyName(RegistryOperation& operation) {
    Resolve(operation, operation.keyPath);
}

void RegistryEventHandler::Resolve(RegistryOperation& operation, std::wstring_view name) {
    Place place;
    if (KeyName* const key = NameOf(operation.keyHandle)) {
        operation.keyHandle = 0;
        place = name.empty() ? PlaceOf(*key) : PlaceBelow(*key, name);
    } else {
        place = PlaceOf(name);
    }
    operation.root = place.root.value_or(operation.root);
    operation.keyPath = place.keyPath;
}

// Null for no handle, one without a name, and one whose name is empty.
RegistryEventHandler::KeyName* RegistryEventHandler::NameOf(std::uint64_t keyHandle) {
    const auto found = keyHandle == 0 ? keyNames.end() : keyNames.find(keyHandle);
    return found == keyNames.end() || found->second.name.empty() ? nullptr : &found->second;
}

RegistryEventHandler::Place RegistryEventHandler::PlaceOf(std::wstring_view fullName) {
    PredefinedRoot root = noRoot;
    if (!NormalizeKernelPath(fullName, classesAsRoot, root, normalized)) {
        return {std::nullopt, texts.Keep(fullName)};
    }
    return {root, texts.Keep(normalized)};
}

const RegistryEventHandler::Place& RegistryEventHandler::PlaceOf(KeyName& key) {
    if (!key.place) {
        key.place = PlaceBelow(key, {});
    }
    return *key.place;
}

// An empty name leaves a backslash at the end, which does no harm.
RegistryEventHandler::Place RegistryEventHandler::PlaceBelow(const KeyName& key, std::wstring_view name) {
    joined.assign(key.name).append(1, L'\\').append(name);
    return PlaceOf(joined);
}

} // namespace keyreap
