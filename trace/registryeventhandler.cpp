#include "trace/registryeventhandler.h"

#include "etl/payload.h"
#include "trace/kernelpath.h"

#include <cstddef>
#include <span>
#include <vector>

namespace keyreap {

namespace {

// As in an event.
std::vector<std::byte> UnitsOf(std::wstring_view text) {
    std::vector<std::byte> units(2 * text.size());
    StoreUnits(units, 0, text);
    return units;
}

} // namespace

RegistryEventHandler::RegistryEventHandler(bool classesAsRoot) : classesAsRoot(classesAsRoot) {}

// An empty name replaces the earlier one too.
void RegistryEventHandler::NameHandle(const TraceEvent& event, const EventValues* values) {
    if (values == nullptr) {
        const NamedHandle named = ReadFixedName(event, PointerSize());
        keyNames.Set(named.keyHandle, named.name);
    } else {
        fields = ReadSchemaFields(*values, PointerSize());
        keyNames.Set(fields.keyHandle, UnitsOf(fields.name));
    }
}

void RegistryEventHandler::ReadOperation(const TraceEvent& event, const EventValues* values) {
    if (values == nullptr) {
        ReadFixedFields(event, PointerSize(), fields);
    } else {
        fields = ReadSchemaFields(*values, PointerSize());
    }
    AddOperation(event, fields);
}

void RegistryEventHandler::AddOperation(const TraceEvent& event, RegistryFields& read) {
    RegistryOperation& operation = operations.list.Add({});
    operation.type = event.type;
    operation.index = read.index;
    operation.status = read.status;
    operation.initialTime = read.initialTime;
    operation.processId = event.processId;
    operation.keyHandle = read.keyHandle;
    if (ConcernsValue(event.type)) {
        operation.valueName = valueNames.Keep(read.name);
    } else {
        operation.keyPath = read.name;
    }
    ResolveKeyName(operation);
    if (operation.keyHandle != 0) {
        unnamed.push_back(&operation);
    }
}

std::optional<std::wstring> RegistryEventHandler::KernelName(std::uint64_t keyHandle,
                                                             std::wstring_view name) {
    if (keyHandle == 0) {
        return std::wstring(name);
    }
    const HandleName* const key = NameOf(keyHandle);
    if (key == nullptr) {
        return {};
    }
    std::wstring path;
    key->CopyTo(path);
    if (!name.empty()) {
        path.append(1, L'\\').append(name);
    }
    return path;
}

void RegistryEventHandler::OnFinished() {
    for (RegistryOperation* const operation : unnamed) {
        ResolveKeyName(*operation);
    }
    std::erase_if(unnamed, [](const RegistryOperation* operation) { return operation->keyHandle == 0; });
    keyNames.Clear();
}

RecordedOperations RegistryEventHandler::TakeOperations() {
    paths.Forget();
    valueNames.Forget();
    keyNames.Clear();
    unnamed.clear();
    return std::exchange(operations, {});
}

void RegistryEventHandler::ResolveKeyName(RegistryOperation& operation) {
    HandleName* const key = NameOf(operation.keyHandle);
    const KeyPlace place = key ? PlaceBelow(*key, operation.keyPath) : Normalize(operation.keyPath);
    if (key) {
        operation.keyHandle = 0;
    }
    operation.root = place.root.value_or(operation.root);
    operation.keyPath = place.keyPath;
}

// Null for handle 0, for one without a name, and for one whose name is empty.
HandleName* RegistryEventHandler::NameOf(std::uint64_t keyHandle) {
    HandleName* const found = keyNames.Find(keyHandle);
    return found == nullptr || found->IsEmpty() ? nullptr : found;
}

// The place of the key itself for an empty name, with a backslash at the end, which does no harm.
KeyPlace RegistryEventHandler::PlaceBelow(HandleName& key, std::wstring_view name) {
    if (!key.Place()) {
        Join(key, {});
        keyNames.SetPlace(key, Normalize(joined));
    }
    const KeyPlace& place = *key.Place();
    if (name.empty()) {
        return place;
    }
    if (place.root && MakesSubkeyPath(*place.root, place.keyPath, name)) {
        joined.assign(place.keyPath).append(name);
        return {place.root, paths.Keep(joined)};
    }
    Join(key, name);
    return Normalize(joined);
}

void RegistryEventHandler::Join(const HandleName& key, std::wstring_view name) {
    key.CopyTo(joined);
    joined.append(1, L'\\').append(name);
}

KeyPlace RegistryEventHandler::Normalize(std::wstring_view fullName) {
    PredefinedRoot root = noRoot;
    if (!NormalizeKernelPath(fullName, classesAsRoot, root, normalized)) {
        return {std::nullopt, paths.Keep(fullName)};
    }
    return {root, paths.Keep(normalized)};
}

} // namespace keyreap
