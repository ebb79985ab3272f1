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
        keyNames[fields.keyHandle] = std::move(fields.name);
    } else if (IsWatchedProcess(event.processId)) {
        AddOperation(event, ReadFields(event, values));
    }
}

void RegistryEventHandler::AddOperation(const TraceEvent& event, RegistryFields fields) {
    RegistryOperation operation;
    operation.type = event.type;
    (ConcernsValue(event.type) ? operation.valueName : operation.keyPath) = std::move(fields.name);
    operation.index = fields.index;
    operation.status = fields.status;
    operation.initialTime = fields.initialTime;
    operation.processId = event.processId;
    operation.keyHandle = fields.keyHandle;
    ResolveKeyName(operation);
    operations.push_back(std::move(operation));
}

void RegistryEventHandler::OnFinished() {
    for (RegistryOperation& operation : operations) {
        if (operation.keyHandle != 0) {
            ResolveKeyName(operation);
        }
    }
    keyNames.clear();
}

void RegistryEventHandler::ResolveKeyName(RegistryOperation& operation) const {
    const auto known = operation.keyHandle == 0 ? keyNames.end() : keyNames.find(operation.keyHandle);
    if (known != keyNames.end() && !known->second.empty()) {
        operation.keyPath.insert(0, known->second + L'\\');
        operation.keyHandle = 0;
    }
    std::wstring normalized;
    if (NormalizeKernelPath(operation.keyPath, classesAsRoot, operation.root, normalized)) {
        operation.keyPath = std::move(normalized);
    }
}

} // namespace keyreap
