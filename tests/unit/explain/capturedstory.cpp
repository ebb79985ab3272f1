#include "tests/unit/explain/capturedstory.h"

#include "trace/kernelpath.h"
#include "trace/replay/controlsets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <utility>

namespace keyreap {

namespace {

constexpr std::uint32_t firstId = 0x20;

} // namespace

CapturedStory::CapturedStory() {
    StartProcess(L"KeyKitExplain.exe", noIndex, false);
    facts.ownProcess = 0;
    facts.ownThread = makersThread;
    facts.temporaryPrefix = L"Software\\Velmoro\\Tesselink\\Temporary\\";
}

CapturedStory& CapturedStory::By(std::size_t newProcess, std::uint32_t newThread) {
    process = newProcess;
    thread = newThread;
    return *this;
}

CapturedStory& CapturedStory::In(StoryPhase newPhase) {
    phase = newPhase;
    return *this;
}

std::size_t CapturedStory::StartProcess(std::wstring image, std::size_t parent, bool isOfCapture) {
    const auto id = static_cast<std::uint32_t>(firstId + story.processes.size());
    story.processes.push_back({id, parent, std::move(image), isOfCapture});
    return story.processes.size() - 1;
}

std::size_t CapturedStory::Add(std::uint8_t type, std::wstring_view path, std::wstring_view value,
                               std::uint32_t status) {
    StoryOperation operation;
    operation.type = type;
    operation.phase = phase;
    operation.status = status;
    operation.threadId = thread;
    operation.process = process;
    operation.keyPath = path;
    operation.valueName = value;
    story.operations.push_back(std::move(operation));
    return story.operations.size() - 1;
}

RegSection& CapturedStory::Section(const std::wstring& key) {
    const auto found = std::ranges::find(document.sections, key, &RegSection::path);
    if (found != document.sections.end()) {
        return *found;
    }
    RegSection section;
    section.path = key;
    document.sections.push_back(std::move(section));
    return document.sections.back();
}

CapturedStory& CapturedStory::HasKey(std::wstring key) {
    Section(key);
    return *this;
}

CapturedStory& CapturedStory::HasValue(const std::wstring& key, std::wstring name) {
    RegEntry entry;
    entry.name = std::move(name);
    entry.type = 1;
    entry.data = UnitData(std::wstring(L"x\0", 2));
    Section(key).entries.push_back(std::move(entry));
    return *this;
}

CapturedStory& CapturedStory::HasFiller(const std::wstring& key, std::wstring name) {
    HasValue(key, std::move(name));
    Section(key).entries.back().data = UnitData(std::wstring(10, L'\x5555') + L'\0');
    return *this;
}

void CapturedStory::RecordTrace(std::size_t lost) {
    std::list<std::wstring> paths;
    std::vector<RegistryOperation> operations;
    for (const StoryOperation& done : story.operations) {
        const bool isWatched = done.process == facts.ownProcess || done.process == facts.serverProcess;
        if (!isWatched || done.phase != StoryPhase::During || done.isSystems) {
            continue;
        }
        RegistryOperation operation;
        operation.type = done.type;
        operation.status = done.status;
        operation.processId = story.processes[done.process].id;
        operation.valueName = done.valueName;
        NormalizeKernelPath(done.keyPath, true, operation.root, paths.emplace_back());
        operation.keyPath = paths.back();
        operations.push_back(operation);
    }
    log.RecordOperations(std::span(operations).subspan(lost));
    FoldControlSets(log);
    PruneControlSets(log, true, facts.temporaryPrefix);
    facts.log = &log;
    facts.isLogFull = lost != 0;
}

ExplainedStory CapturedStory::Explained() {
    ExplainedStory explained;
    explained.story = story;
    const ResultIndex result(document);
    Judge judge(story, facts, result, live);
    explained.verdicts = judge.Verdicts();
    explained.isFromTrace = facts.log != nullptr;
    explained.isRedirected = judge.SawTemporaryTree();
    explained.Number();
    return explained;
}

JudgedOperation CapturedStory::VerdictOn(std::size_t operation) {
    for (const JudgedOperation& judged : Explained().verdicts) {
        if (judged.operation == operation) {
            return judged;
        }
    }
    ADD_FAILURE() << "operation " << operation << " has no verdict";
    return {};
}

bool CapturedStory::Matters(std::size_t operation) {
    return std::ranges::any_of(Explained().verdicts,
                               [&](const JudgedOperation& judged) { return judged.operation == operation; });
}

} // namespace keyreap
