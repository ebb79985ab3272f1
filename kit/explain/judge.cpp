#include "kit/explain/judge.h"

#include "etl/registryevent.h"
#include "platform/core/text/compare.h"
#include "trace/registryoperation.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace keyreap {

namespace {

constexpr std::uint32_t statusObjectNameNotFound = 0xC0000034; // ntstatus.h
constexpr std::uint32_t statusObjectPathNotFound = 0xC000003A; // ntstatus.h

bool WasMissing(std::uint32_t status) {
    return status == statusObjectNameNotFound || status == statusObjectPathNotFound;
}

// The host's API looks for this key wherever it might lead to the other view.
bool IsSearchForNode(const StoryOperation& operation) {
    constexpr std::wstring_view end = L"\\Wow6432Node";
    const std::wstring_view path = operation.keyPath;
    return operation.type == registryevent::openKey && path.size() > end.size() &&
           EqualFolded(path.substr(path.size() - end.size()), end);
}

bool IsRemoval(const StoryOperation& operation) {
    return operation.type == registryevent::deleteKey || operation.type == registryevent::deleteValue;
}

bool IsKeptByTrace(const StoryOperation& operation) {
    return operation.status == 0 ||
           (operation.status == statusObjectNameNotFound && operation.type == registryevent::createKey);
}

} // namespace

Judge::Judge(const Story& story, const CaptureFacts& facts, const ResultIndex& result, LivePlaces& live)
    : story(story), facts(facts), result(result), live(live),
      changes(story.operations, [this](const StoryOperation& operation) { return !IsMakers(operation); }),
      names(facts.temporaryPrefix), trace(facts.log, facts.isLogFull, names) {
    FindResultsBegin();
    ReadStory();
}

// The operation with which the result begins, if it comes from the trees.
void Judge::FindResultsBegin() {
    bool hasServerBegun = false;
    for (std::size_t i = 0; i < story.operations.size() && resultBegins == noIndex; ++i) {
        const StoryOperation& operation = story.operations[i];
        hasServerBegun = hasServerBegun || IsWatched(operation);
        if (hasServerBegun && IsMakers(operation) && names.Meant(operation.keyPath).isTree) {
            resultBegins = i;
        }
    }
}

void Judge::ReadStory() {
    for (const StoryOperation& operation : story.operations) {
        if (IsMakers(operation) && operation.status != 0) {
            failedReads[names.PlaceOf(operation.keyPath).Text()] = operation.status;
        }
        if (IsWatched(operation) && !operation.isSystems && operation.phase == StoryPhase::During &&
            IsKeptByTrace(operation)) {
            trace.Expect(operation);
        }
    }
}

bool Judge::IsMakers(const StoryOperation& operation) const {
    return operation.process == facts.ownProcess && operation.threadId == facts.ownThread;
}

bool Judge::IsWatched(const StoryOperation& operation) const {
    return operation.process != noIndex && !IsMakers(operation) &&
           (operation.process == facts.ownProcess || operation.process == facts.serverProcess ||
            trace.Watches(story.processes[operation.process].id));
}

// The worker's redirection and its end, and the keys that the capture makes in each tree.
bool Judge::IsCapturesOwn(const StoryOperation& operation, const MeantKey& key) const {
    if (key.isTree || key.path.empty()) {
        return true;
    }
    if (operation.process != facts.ownProcess) {
        return false;
    }
    const bool isOwnKey = !ConcernsValue(operation.type) && result.OfKey(key.Name()) == InResult::CapturesOwn;
    const bool isFailedEnd = operation.phase == StoryPhase::After && operation.status != 0;
    return operation.phase == StoryPhase::Before || isFailedEnd || (key.isTemporary && isOwnKey);
}

bool Judge::IsAfterwards(std::size_t operation) const {
    return story.operations[operation].phase == StoryPhase::After ||
           (!trace.IsThere() && resultBegins != noIndex && operation > resultBegins);
}

bool Judge::IsThereNow(const StoryOperation& operation, const MeantKey& key) {
    return ConcernsValue(operation.type) ? live.HasValue(key.root, key.path, operation.valueName)
                                         : live.HasKey(key.root, key.path);
}

std::vector<JudgedOperation> Judge::Verdicts() {
    std::vector<JudgedOperation> verdicts;
    for (std::size_t i = 0; i < story.operations.size(); ++i) {
        JudgedOperation judged;
        judged.operation = i;
        if (JudgeOne(judged)) {
            verdicts.push_back(std::move(judged));
        }
    }
    return verdicts;
}

// False for an operation that doesn't matter.
bool Judge::JudgeOne(JudgedOperation& judged) {
    const StoryOperation& operation = story.operations[judged.operation];
    if (IsMakers(operation)) {
        return false;
    }
    const MeantKey key = names.Meant(operation.keyPath);
    judged.key = key.Name();
    if (IsWatched(operation)) {
        sawTemporaryTree = sawTemporaryTree || key.isTemporary;
        return !IsCapturesOwn(operation, key) && JudgeWatched(key, judged);
    }
    judged.verdict = Verdict::Unwatched;
    return HasChanged(operation) && !operation.isSystems && !operation.isInner && !key.isTree;
}

bool Judge::JudgeWatched(const MeantKey& key, JudgedOperation& judged) {
    const StoryOperation& operation = story.operations[judged.operation];
    if (operation.isSystems) {
        judged.verdict = Verdict::Systems;
        return HasChanged(operation);
    }
    if (operation.status != 0) {
        return JudgeFailure(key, judged);
    }
    if (IsChange(operation)) {
        JudgeChange(key, judged);
        return true;
    }
    judged.verdict = Verdict::OnlyOpened;
    const bool isRead =
        operation.type == registryevent::openKey || operation.type == registryevent::queryValue;
    return isRead && !operation.isInner && !changes.Touches(operation.keyPath);
}

bool Judge::JudgeFailure(const MeantKey& key, JudgedOperation& judged) {
    const StoryOperation& operation = story.operations[judged.operation];
    if (IsChange(operation)) {
        judged.verdict =
            IsRemoval(operation) && WasMissing(operation.status) ? Verdict::NothingRemoved : Verdict::Refused;
        // The API creates a key level by level after it failed to create it at once.
        return !(operation.type == registryevent::createKey && WasMissing(operation.status));
    }
    return WasMissing(operation.status) && !operation.isInner && !IsSearchForNode(operation) &&
           JudgeSearch(key, judged);
}

bool Judge::JudgeSearch(const MeantKey& key, JudgedOperation& judged) {
    const StoryOperation& operation = story.operations[judged.operation];
    if (changes.IsMadeAfter(judged.operation)) {
        judged.verdict = Verdict::NotYetThere;
        return true;
    }
    judged.verdict = key.isTemporary && IsThereNow(operation, key) ? Verdict::EmptyThere : Verdict::NotFound;
    return true;
}

void Judge::JudgeChange(const MeantKey& key, JudgedOperation& judged) {
    const StoryOperation& operation = story.operations[judged.operation];
    const bool isCut = operation.phase == StoryPhase::During && trace.IsCut(operation);
    if (IsAfterwards(judged.operation)) {
        judged.verdict = Verdict::AfterTrace;
    } else if (!trace.IsThere() && !key.isTemporary) {
        judged.verdict = Verdict::NotRedirected;
    } else if (operation.isOtherView) {
        judged.verdict = Verdict::OtherView;
        if (operation.type == registryevent::setValue &&
            result.OfValue(judged.key, operation.valueName) == InResult::Filler) {
            judged.cause = FillerCause::OtherView;
        }
    } else if (trace.Dropped(operation)) {
        judged.verdict = isCut ? Verdict::Cut : Verdict::Systems;
    } else if (operation.type == registryevent::setValue) {
        JudgeSet(judged, isCut);
    } else if (operation.type == registryevent::createKey) {
        JudgeCreation(judged, isCut);
    } else {
        JudgeRemoval(judged);
    }
}

void Judge::JudgeSet(JudgedOperation& judged, bool isCut) {
    const StoryOperation& operation = story.operations[judged.operation];
    const InResult found = result.OfValue(judged.key, operation.valueName);
    judged.other = changes.Next(judged.operation);
    if (judged.other != noIndex && found == InResult::Itself && IsAfterwards(judged.other)) {
        judged.other = noIndex;
    }
    if (judged.other == noIndex) {
        judged.verdict =
            found == InResult::Itself ? Verdict::InResult : (isCut ? Verdict::Cut : Verdict::Lost);
        if (found == InResult::Filler) {
            JudgeFiller(judged);
        }
        return;
    }
    const std::uint8_t type = story.operations[judged.other].type;
    if (type == registryevent::setValue) {
        judged.verdict = Verdict::Overwritten;
    } else if (found == InResult::Filler) {
        judged.verdict = Verdict::Filler;
        judged.cause = type == registryevent::setInformation ? FillerCause::KeyRenamed : FillerCause::Deleted;
    } else {
        judged.verdict = type == registryevent::setInformation ? Verdict::Renamed : Verdict::DeletedAgain;
    }
}

void Judge::JudgeFiller(JudgedOperation& judged) const {
    judged.verdict = Verdict::Filler;
    judged.cause = FillerCause::Unknown;
    const auto failed = failedReads.find(names.PlaceOf(story.operations[judged.operation].keyPath).Text());
    if (failed != failedReads.end()) {
        judged.cause = FillerCause::KeyNotOpened;
        judged.causeStatus = failed->second;
    }
}

void Judge::JudgeCreation(JudgedOperation& judged, bool isCut) const {
    const StoryOperation& operation = story.operations[judged.operation];
    judged.other = changes.Next(judged.operation);
    if (judged.other != noIndex && !IsAfterwards(judged.other)) {
        const bool isRenamed = story.operations[judged.other].type == registryevent::setInformation;
        const bool isThere = result.OfKey(judged.key) != InResult::Nothing;
        judged.verdict = isRenamed ? (isThere ? Verdict::OldName : Verdict::Renamed) : Verdict::DeletedAgain;
        return;
    }
    judged.other = noIndex;
    switch (result.OfKey(judged.key)) {
    case InResult::OnlyBelow:
        judged.verdict = Verdict::InResultBelow;
        break;
    case InResult::Nothing:
        judged.verdict = isCut ? Verdict::Cut : Verdict::Lost;
        if (trace.HasSubkeys(operation)) {
            judged.verdict = Verdict::EmptyKeyWithKeys;
        }
        break;
    default:
        judged.verdict = Verdict::InResult;
    }
}

void Judge::JudgeRemoval(JudgedOperation& judged) const {
    const StoryOperation& operation = story.operations[judged.operation];
    if (operation.type == registryevent::setInformation) {
        judged.verdict = Verdict::Renamed;
        judged.newKey = judged.key.substr(0, judged.key.rfind(L'\\') + 1) + operation.newName;
        judged.hasNewKey = result.OfKey(judged.newKey) != InResult::Nothing;
        return;
    }
    judged.other = changes.Previous(judged.operation);
    judged.verdict = judged.other == noIndex ? Verdict::OldRemoved : Verdict::Undone;
}

} // namespace keyreap
