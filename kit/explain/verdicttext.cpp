#include "kit/explain/verdicttext.h"

#include "etl/registryevent.h"
#include "platform/core/text/text.h"
#include "trace/registryoperation.h"

#include <algorithm>

namespace keyreap {

namespace {

std::wstring_view CallOf(std::uint8_t type) {
    switch (type) {
    case registryevent::createKey:
        return L"create key";
    case registryevent::openKey:
        return L"open key";
    case registryevent::deleteKey:
        return L"delete key";
    case registryevent::setInformation:
        return L"rename key";
    case registryevent::setValue:
        return L"set value";
    case registryevent::deleteValue:
        return L"delete value";
    case registryevent::queryValue:
        return L"read value";
    default:
        return L"use key";
    }
}

std::wstring StatusText(std::uint32_t status) {
    return L"0x" + HexToText(status, 8);
}

// ` to "new name"`, of a renaming.
std::wstring NewNameText(const StoryOperation& operation) {
    return operation.newName.empty() ? std::wstring() : L" to \"" + operation.newName + L'"';
}

// ` by 12 (set value, child.exe (72))`, as far as it is known.
std::wstring ByText(const ExplainedStory& explained, std::size_t other) {
    if (other == noIndex) {
        return {};
    }
    const StoryOperation& operation = explained.story.operations[other];
    const std::size_t number = explained.NumberOf(other);
    const std::wstring place = number == 0 ? std::wstring() : L"line " + std::to_wstring(number) + L", ";
    return L" (" + place + std::wstring(CallOf(operation.type)) + NewNameText(operation) + L" by " +
           ProcessText(explained.story, operation.process) + L')';
}

std::wstring CauseText(const ExplainedStory& explained, const JudgedOperation& judged) {
    switch (judged.cause) {
    case FillerCause::KeyRenamed:
        return L"its key was renamed" + ByText(explained, judged.other);
    case FillerCause::Deleted:
        return L"it was deleted before the result was made" + ByText(explained, judged.other);
    case FillerCause::OtherView:
        return L"it is in the other view of the registry";
    case FillerCause::KeyNotOpened:
        return L"it could not be read when the result was made (" + StatusText(judged.causeStatus) + L')';
    default:
        return L"it could not be read when the result was made";
    }
}

std::wstring UnwatchedText(const ExplainedStory& explained, const StoryOperation& operation) {
    std::wstring text = L"not in the result: by a process that isn't watched";
    const std::size_t parent = explained.story.processes[operation.process].parent;
    if (parent != noIndex) {
        text += L", started by " + ProcessText(explained.story, parent);
    }
    if (explained.isFromTrace && operation.phase != StoryPhase::During) {
        text += operation.phase == StoryPhase::Before ? L", before the trace" : L", after the trace";
    }
    return text;
}

std::wstring OtherViewText(const JudgedOperation& judged) {
    const std::wstring_view there =
        judged.cause == FillerCause::OtherView
            ? L"the result has ten filler characters in the place of its data"
            : L"the result has at most what the server's own view has under this name";
    return L"in the other view of the registry; " + std::wstring(there);
}

std::wstring FillerText(const ExplainedStory& explained, const JudgedOperation& judged) {
    return L"in the result, but with ten filler characters in the place of its data: " +
           CauseText(explained, judged);
}

std::wstring RenamedText(const ExplainedStory& explained, const JudgedOperation& judged) {
    if (judged.other == noIndex) {
        return explained.isFromTrace ? L"a trace doesn't follow a renaming" : L"the result has the new name";
    }
    return L"its key was renamed later" + ByText(explained, judged.other) +
           (explained.isFromTrace ? L", which a trace doesn't follow" : L"; the result has the new name");
}

} // namespace

std::wstring Printable(std::wstring text) {
    std::ranges::replace_if(
        text, [](wchar_t unit) { return unit < L' ' || (unit >= 0x7F && unit < 0xA0); }, L'?');
    return text;
}

std::wstring CallText(const StoryOperation& operation, const std::wstring& key) {
    std::wstring text = std::wstring(CallOf(operation.type)) + L' ' + key;
    if (ConcernsValue(operation.type)) {
        text += operation.valueName.empty() ? L", default value" : L", value \"" + operation.valueName + L'"';
    }
    return text + NewNameText(operation);
}

std::wstring ProcessText(const Story& story, std::size_t process) {
    if (process == noIndex) {
        return L"an unknown process";
    }
    const StoryProcess& known = story.processes[process];
    return (known.imageName.empty() ? L"process" : known.imageName) + L" (" + std::to_wstring(known.id) +
           L')';
}

std::wstring VerdictText(const ExplainedStory& explained, const JudgedOperation& judged) {
    const StoryOperation& operation = explained.OperationOf(judged);
    switch (judged.verdict) {
    case Verdict::InResult:
        return L"in the result";
    case Verdict::InResultBelow:
        return L"in the result, implied by keys below it";
    case Verdict::Overwritten:
        return L"overwritten later" + ByText(explained, judged.other);
    case Verdict::DeletedAgain:
        return L"deleted again" + ByText(explained, judged.other);
    case Verdict::Undone:
        return L"takes back what was made before" + ByText(explained, judged.other);
    case Verdict::OldRemoved:
        return L"not in the result: it removes what was there before, and no result has removals";
    case Verdict::OnlyOpened:
        return ConcernsValue(operation.type) ? L"was there and only read" : L"was there and only opened";
    case Verdict::NotFound:
        return L"looked for and not found: not there at all";
    case Verdict::EmptyThere:
        return L"looked for and not found: the redirected roots are empty there, and the registry has it";
    case Verdict::NotYetThere:
        return L"looked for and not found: it was made later";
    case Verdict::Unwatched:
        return UnwatchedText(explained, operation);
    case Verdict::OtherView:
        return OtherViewText(judged);
    case Verdict::NotRedirected:
        return L"not in the result: it went past the redirected roots into the registry";
    case Verdict::AfterTrace:
        return explained.isFromTrace ? L"not in the result: after the trace"
                                     : L"not in the result: after the redirected roots were read";
    case Verdict::Systems:
        return operation.isSystems
                   ? L"not in the result: noise of the system"
                   : L"not in the result: a trace takes a control set without values for noise of the system";
    case Verdict::Cut:
        return L"not in the result: cut off by the ceiling of the log";
    case Verdict::Filler:
        return FillerText(explained, judged);
    case Verdict::Renamed:
        return RenamedText(explained, judged);
    case Verdict::OldName:
        return L"in the result under this name, though it was renamed later" +
               ByText(explained, judged.other) + L": a trace doesn't follow that";
    case Verdict::EmptyKeyWithKeys:
        return L"not in the result: it has no values, and a trace expects the keys below it to stand for it";
    case Verdict::NothingRemoved:
        return L"there was nothing to remove";
    case Verdict::Refused:
        return L"refused by the system (" + StatusText(operation.status) + L')';
    case Verdict::Lost:
        break;
    }
    return L"not in the result, for no reason known here";
}

} // namespace keyreap
