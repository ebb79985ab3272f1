#include "kit/explain/storyrecorder.h"

#include "etl/registryevent.h"
#include "platform/core/text/compare.h"

#include <algorithm>

namespace keyreap {

namespace {

constexpr std::wstring_view node = L"Wow6432Node";
constexpr std::wstring_view softwareKey = L"\\REGISTRY\\Machine\\Software\\";

bool HasNode(std::wstring_view path) {
    for (std::size_t start = 0; start < path.size();) {
        const std::size_t end = std::min(path.find(L'\\', start), path.size());
        if (EqualFolded(path.substr(start, end - start), node)) {
            return true;
        }
        start = end + 1;
    }
    return false;
}

StoryPhase PhaseAfter(int marks) {
    return marks == 0 ? StoryPhase::Before : (marks == 1 ? StoryPhase::During : StoryPhase::After);
}

} // namespace

void StoryRecorder::OnProcessStart(const ProcessStart& start) {
    processes.Start(start.processId, start.parentId, start.imageName, captures);
}

void StoryRecorder::OnMissingKey(const std::wstring& name) {
    if (!markPrefix.empty() && name.starts_with(markPrefix)) {
        ++marks;
    }
}

void StoryRecorder::Record(const KeyRequest& request, bool isSystems) {
    if (request.type == registryevent::close) {
        return;
    }
    StoryOperation operation;
    operation.keyPath = PathOf(request);
    if (!markPrefix.empty() && operation.keyPath.starts_with(markPrefix)) {
        return;
    }
    operation.type = request.type;
    operation.phase = PhaseAfter(marks);
    operation.isSystems = isSystems;
    operation.isOtherView = IsOtherView(request, operation.keyPath);
    operation.isInner = request.origin != KeyOrigin::program;
    operation.status = request.status;
    operation.threadId = request.threadId;
    operation.process = processes.Known(request.processId);
    if (request.type >= registryevent::setValue && request.type <= registryevent::queryValue) {
        operation.valueName = request.name;
    }
    operation.newName = request.newName;
    story.operations.push_back(std::move(operation));
}

std::wstring StoryRecorder::PathOf(const KeyRequest& request) const {
    if (request.key) {
        return request.key->Path(facts);
    }
    return request.parent ? request.parent->Path(facts) + L'\\' + request.name : request.name;
}

bool StoryRecorder::IsOtherView(const KeyRequest& request, const std::wstring& path) {
    if (request.machine != machineI386) {
        return HasNode(path);
    }
    if (!StartsWithFolded(path, softwareKey) || HasNode(path)) {
        return false;
    }
    const bool namesKey = request.type == registryevent::createKey || request.type == registryevent::openKey;
    if (namesKey && !request.view.redirected && request.origin == KeyOrigin::program) {
        wideKeys.insert(FoldedText(path));
    }
    return wideKeys.contains(FoldedText(path));
}

Story StoryRecorder::Take() {
    if (marks == 0) {
        for (StoryOperation& operation : story.operations) {
            operation.phase = StoryPhase::During;
        }
    }
    return std::move(story);
}

} // namespace keyreap
