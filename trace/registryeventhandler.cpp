#include "trace/registryeventhandler.h"

#include "trace/kernelpath.h"

#include <utility>

namespace keyreap {

namespace {

bool IsRegistryEventType(std::uint8_t type) {
    return type >= registryevent::createKey && type <= registryevent::querySecurity;
}

// The events of key control blocks name a handle. They are not operations.
bool NamesHandle(std::uint8_t type) {
    return type >= registryevent::kcbCreate && type <= registryevent::kcbRundownEnd;
}

} // namespace

RegistryEventHandler::RegistryEventHandler(bool classesAsRoot) : classesAsRoot(classesAsRoot) {}

bool RegistryEventHandler::Accepts(const TraceEvent& event) const {
    return event.guid == RegistryGuid || IsLogHeader(event);
}

RegistryFields RegistryEventHandler::ReadFields(const TraceEvent& event, const EventValues* values) const {
    return values == nullptr ? ReadFixedFields(event, PointerSize())
                             : ReadSchemaFields(*values, PointerSize());
}

void RegistryEventHandler::OnDecodedEvent(const TraceEvent& event, const EventValues* values) {
    if (!IsRegistryEventType(event.type)) {
        return;
    }
    if (NamesHandle(event.type)) {
        // From any process, watched or not. An empty name replaces the earlier one too.
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
    operation.keyPath = fields.name;
    ResolveKeyName(operation);
    operations.Add(operation);
}

std::optional<std::wstring> RegistryEventHandler::KernelName(std::uint64_t keyHandle,
                                                             std::wstring_view name) {
    if (keyHandle == 0) {
        return std::wstring(name);
    }
    const KeyName* const key = NameOf(keyHandle);
    if (key == nullptr) {
        return {};
    }
    return name.empty() ? key->name : key->name + L'\\' + std::wstring(name);
}

void RegistryEventHandler::OnFinished() {
    for (std::size_t number = 0; number < operations.PieceCount(); ++number) {
        for (RegistryOperation& operation : operations.Piece(number)) {
            if (operation.keyHandle != 0) {
                ResolveKeyName(operation);
            }
        }
    }
    keyNames.clear();
}

void RegistryEventHandler::ResolveKeyName(RegistryOperation& operation) {
    KeyName* const key = NameOf(operation.keyHandle);
    const Place place = key ? PlaceBelow(*key, operation.keyPath) : Normalize(operation.keyPath);
    if (key) {
        operation.keyHandle = 0;
    }
    operation.root = place.root.value_or(operation.root);
    operation.keyPath = place.keyPath;
}

// Null for handle 0, for one without a name, and for one whose name is empty.
RegistryEventHandler::KeyName* RegistryEventHandler::NameOf(std::uint64_t keyHandle) {
    const auto found = keyHandle == 0 ? keyNames.end() : keyNames.find(keyHandle);
    return found == keyNames.end() || found->second.name.empty() ? nullptr : &found->second;
}

// The place of the key itself for an empty name, with a backslash at the end, which does no harm.
RegistryEventHandler::Place RegistryEventHandler::PlaceBelow(KeyName& key, std::wstring_view name) {
    if (name.empty() && key.place) {
        return *key.place;
    }
    joined.assign(key.name).append(1, L'\\').append(name);
    const Place place = Normalize(joined);
    if (name.empty()) {
        key.place = place;
    }
    return place;
}

RegistryEventHandler::Place RegistryEventHandler::Normalize(std::wstring_view fullName) {
    PredefinedRoot root = noRoot;
    if (!NormalizeKernelPath(fullName, classesAsRoot, root, normalized)) {
        return {std::nullopt, texts.Keep(fullName)};
    }
    return {root, texts.Keep(normalized)};
}

} // namespace keyreap
