#include "kit/explain/tracestory.h"

#include "trace/kernelpath.h"
#include "trace/processfields.h"
#include "trace/registryoperation.h"

#include <optional>
#include <utility>

namespace keyreap {

namespace {

constexpr std::wstring_view node = L"Wow6432Node";

bool IsChangeType(std::uint8_t type) {
    return type == registryevent::createKey || type == registryevent::deleteKey ||
           type == registryevent::setValue || type == registryevent::deleteValue;
}

bool IsReadType(std::uint8_t type) {
    return type == registryevent::openKey || type == registryevent::queryValue;
}

} // namespace

TraceStory::TraceStory(std::uint32_t ownProcess, std::wstring ownImage, bool is32Bit)
    : RegistryEventHandler(true), ownProcess(ownProcess), is32Bit(is32Bit) {
    story.marksSystems = false;
    processes.Name(ownProcess, std::move(ownImage));
}

bool TraceStory::Accepts(const TraceEvent& event) const {
    return RegistryEventHandler::Accepts(event) || IsProcessStart(event) || IsProcessRundown(event);
}

void TraceStory::OnDecodedEvent(const TraceEvent& event, const EventValues* values) {
    if (event.guid == ProcessGuid) {
        AddProcess(event);
    } else if (IsLogHeader(event)) {
        startTime = event.timeStamp;
    } else {
        RegistryEventHandler::OnDecodedEvent(event, values);
    }
}

void TraceStory::AddProcess(const TraceEvent& event) {
    std::optional<ProcessFields> fields = ReadProcessFields(event, PointerSize());
    if (!fields) {
        return;
    }
    if (IsProcessStart(event)) {
        processes.Start(fields->processId, fields->parentId, std::move(fields->imageName), true);
    } else if (fields->processId != ownProcess) {
        processes.Name(fields->processId, std::move(fields->imageName));
    }
}

// Deliberate: not the setting of information on a key. Only a log under Wine means a renaming by it, and no
// log names the new key.
bool TraceStory::IsWanted(const TraceEvent& event) {
    if (IsChangeType(event.type)) {
        return true;
    }
    const std::size_t process = processes.Of(event.processId);
    return IsReadType(event.type) && process != noIndex &&
           (event.processId == ownProcess || story.processes[process].isOfCapture);
}

void TraceStory::AddOperation(const TraceEvent& event, RegistryFields& fields) {
    if (!IsWanted(event)) {
        return;
    }
    StoryOperation operation;
    operation.type = event.type;
    operation.status = fields.status;
    operation.threadId = event.threadId;
    operation.process = processes.Known(event.processId);
    operation.time = event.timeStamp - startTime;
    if (ConcernsValue(event.type)) {
        operation.valueName = std::exchange(fields.name, {});
    }
    if (std::optional<std::wstring> path = KernelName(fields.keyHandle, fields.name)) {
        NameKey(operation, std::move(*path));
    } else {
        unnamed.push_back({story.operations.size(), fields.keyHandle, std::move(fields.name)});
    }
    story.operations.push_back(std::move(operation));
}

// To a trace the two views are one. A 32-bit process asks for a key without the node and gets it with it, so
// that there the story has one name for both; in a 64-bit one the node is the other view.
void TraceStory::NameKey(StoryOperation& operation, std::wstring path) const {
    operation.keyPath = std::move(path);
    std::wstring without = operation.keyPath;
    if (!RemovePathComponent(without, node)) {
        return;
    }
    if (is32Bit) {
        operation.keyPath = std::move(without);
    } else {
        operation.isOtherView = true;
    }
}

void TraceStory::OnFinished() {
    for (Unnamed& key : unnamed) {
        NameKey(story.operations[key.operation],
                KernelName(key.keyHandle, key.name).value_or(std::move(key.name)));
    }
    unnamed.clear();
    RegistryEventHandler::OnFinished();
}

} // namespace keyreap
