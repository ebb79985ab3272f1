#include "kit/explain/traceview.h"

#include "platform/core/text/compare.h"
#include "trace/registryoperation.h"

#include <string_view>
#include <vector>

namespace keyreap {

namespace {

constexpr std::wstring_view currentControlSet = L"SYSTEM\\CurrentControlSet";

void AddProcesses(const OperationList& list, std::unordered_set<std::uint32_t>& processes) {
    for (const OperationEntry& entry : list.Entries()) {
        processes.insert(entry.processId);
    }
}

// Without recursion, since names in a log may be thousands of levels deep.
void AddProcessesBelow(const RegistryLogNode& top, std::unordered_set<std::uint32_t>& processes) {
    std::vector<const RegistryLogNode*> waiting = {&top};
    while (!waiting.empty()) {
        const RegistryLogNode& node = *waiting.back();
        waiting.pop_back();
        AddProcesses(node.Operations(), processes);
        for (const RegistryLogValue& value : node.Values()) {
            AddProcesses(value.Operations(), processes);
        }
        for (const RegistryLogNode& subkey : node.Subkeys()) {
            waiting.push_back(&subkey);
        }
    }
}

} // namespace

TraceView::TraceView(RegistryLog* log, bool isFull, const KeyNames& names)
    : log(log), isFull(isFull), names(names) {
    if (log == nullptr) {
        return;
    }
    for (const PredefinedRoot root : {classesRoot, currentUserRoot, localMachineRoot, usersRoot}) {
        AddProcessesBelow(*log->FindNode(root, {}), watched);
    }
}

std::wstring TraceView::PlaceText(const StoryOperation& operation) const {
    return names.PlaceOf(operation.keyPath).Text() + L'\0' + FoldedText(operation.valueName);
}

void TraceView::Expect(const StoryOperation& operation) {
    if (isFull) {
        ++expected[PlaceText(operation)];
    }
}

// The log lacks as many of the oldest operations as it has fewer of a key or value.
bool TraceView::IsCut(const StoryOperation& operation) {
    if (log == nullptr || !isFull) {
        return false;
    }
    const LogPlace place = names.PlaceOf(operation.keyPath);
    const RegistryLogNode* const node = log->FindNode(place.root, place.path);
    std::size_t inLog = 0;
    if (node != nullptr && ConcernsValue(operation.type)) {
        RegistryLogNode& known = log->GetOrAddNode(place.root, place.path);
        inLog = log->GetOrAddValue(known, operation.valueName).Operations().Size();
    } else if (node != nullptr) {
        inLog = node->Operations().Size();
    }
    const std::wstring text = PlaceText(operation);
    return asked[text]++ + inLog < expected[text];
}

bool TraceView::Dropped(const StoryOperation& operation) const {
    const LogPlace place = names.PlaceOf(operation.keyPath);
    if (log == nullptr || log->FindNode(place.root, place.path) != nullptr) {
        return false;
    }
    const std::wstring inTree = names.TemporaryPrefix() + L"HKLM\\" + std::wstring(currentControlSet);
    const std::wstring set = place.root == currentUserRoot ? inTree : std::wstring(currentControlSet);
    const bool isRoot = place.root == currentUserRoot || place.root == localMachineRoot;
    return isRoot && (StartsWithFolded(place.path, set) || StartsWithFolded(set, place.path + L'\\'));
}

bool TraceView::HasSubkeys(const StoryOperation& operation) const {
    const LogPlace place = names.PlaceOf(operation.keyPath);
    const RegistryLogNode* const node = log == nullptr ? nullptr : log->FindNode(place.root, place.path);
    return node != nullptr && !node->Subkeys().IsEmpty();
}

} // namespace keyreap
