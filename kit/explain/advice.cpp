#include "kit/explain/advice.h"

#include "kit/explain/changeindex.h"
#include "kit/explain/verdicttext.h"

#include <algorithm>
#include <optional>

namespace keyreap {

namespace {

bool IsIn(Verdict verdict) {
    return verdict == Verdict::InResult || verdict == Verdict::InResultBelow;
}

// A search, a read or a removal of what was missing says less.
bool IsRealChange(const ExplainedStory& explained, const JudgedOperation& judged) {
    return IsChange(explained.OperationOf(judged)) && judged.verdict != Verdict::NothingRemoved;
}

// The last operation with one of the verdicts, among those that the filter is about; null if there is none.
const JudgedOperation* LastAbout(const ExplainedStory& explained, const KeyFilter& filter) {
    const JudgedOperation* last = nullptr;
    for (const JudgedOperation& judged : explained.verdicts) {
        const StoryOperation& operation = explained.OperationOf(judged);
        const bool saysMore =
            last == nullptr || IsRealChange(explained, judged) || !IsRealChange(explained, *last);
        if (saysMore && filter.IsAbout(operation, judged.key)) {
            last = &judged;
        }
    }
    return last;
}

const JudgedOperation* LastWith(const ExplainedStory& explained, Verdict verdict) {
    const auto found = std::find_if(explained.verdicts.rbegin(), explained.verdicts.rend(),
                                    [&](const JudgedOperation& judged) { return judged.verdict == verdict; });
    return found == explained.verdicts.rend() ? nullptr : &*found;
}

std::wstring SupplyText(const JudgedOperation& judged) {
    return L"supply the dependency that " + judged.key +
           L" belongs to: capture where it is registered, in mode trace or in a registry with its entries";
}

std::wstring OfFiller(const JudgedOperation& judged) {
    switch (judged.cause) {
    case FillerCause::KeyRenamed:
        return L"try the mode keyRedir, which has renamed keys right";
    case FillerCause::Deleted:
        return L"nothing is missing: the value did not last";
    default:
        return L"try the mode keyRedir, which reads the data from the redirected roots";
    }
}

// What would bring it into the result, as a piece of a sentence.
std::wstring RemedyFor(const ExplainedStory& explained, const JudgedOperation& judged) {
    switch (judged.verdict) {
    case Verdict::Overwritten:
    case Verdict::DeletedAgain:
    case Verdict::Undone:
    case Verdict::OldRemoved:
        return L"nothing is missing: it did not last";
    case Verdict::OnlyOpened:
        return explained.isRedirected ? L"it was there before: the server did not change it"
                                      : L"it was there before: try the mode both, in which the server finds "
                                        L"nothing there";
    case Verdict::NotFound:
        return SupplyText(judged);
    case Verdict::EmptyThere:
        return L"try the mode trace, in which the server finds what the registry has";
    case Verdict::NotYetThere:
        return L"see what made it later";
    case Verdict::Unwatched:
        return L"capture " + ProcessText(explained.story, explained.OperationOf(judged).process) +
               L" itself: no mode watches the processes that a server starts";
    case Verdict::OtherView:
        return L"capture the server's build of the other bitness: each has its own view";
    case Verdict::NotRedirected:
        return L"try the mode both, which records what goes past the redirected roots";
    case Verdict::AfterTrace:
        return L"the server has to do it before its registration returns: no mode waits for it";
    case Verdict::Systems:
        return explained.OperationOf(judged).isSystems ? L"nothing is missing: it isn't the server's"
                                                       : L"nothing is missing if it is the system's; if it "
                                                         L"is the server's, try the mode keyRedir, "
                                                         L"which has such keys too";
    case Verdict::Cut:
        return L"try the mode keyRedir, which needs no log";
    case Verdict::Filler:
        return OfFiller(judged);
    case Verdict::OldName:
    case Verdict::Renamed:
        return explained.isFromTrace ? L"try the mode keyRedir, which has renamed keys right"
                                     : L"look for its new name";
    case Verdict::EmptyKeyWithKeys:
        return L"try the mode keyRedir, which has keys without values as well";
    case Verdict::NothingRemoved:
        return L"nothing is missing: the server only wanted it removed, and it was not there";
    case Verdict::Refused:
        return L"the system refused it: check who may write there";
    default:
        return L"compare the result of another mode";
    }
}

// Nobody did anything to it under this name: another key was renamed to it, or the server may have given up
// before, for want of something else.
std::wstring OfNothing(const ExplainedStory& explained, const KeyFilter& filter) {
    const auto renaming = std::ranges::find_if(
        explained.verdicts, [&](const JudgedOperation& judged) { return filter.IsRenamingTo(judged); });
    if (renaming != explained.verdicts.end()) {
        return L"nothing was set in it under this name: " + renaming->key + L" was renamed to it (line " +
               std::to_wstring(explained.NumberOf(renaming->operation)) + L"); " +
               (explained.isFromTrace ? L"try the mode keyRedir, which has renamed keys right"
                                      : L"ask about that key");
    }
    if (const JudgedOperation* const empty = LastWith(explained, Verdict::EmptyThere)) {
        return L"nothing was done to it; the last thing that was looked for, and is only in the registry, "
               L"is " +
               empty->key + L" (line " + std::to_wstring(explained.NumberOf(empty->operation)) +
               L"): try the mode trace";
    }
    if (const JudgedOperation* const missing = LastWith(explained, Verdict::NotFound)) {
        return L"nothing was done to it; the last thing that was looked for in vain is " + missing->key +
               L" (line " + std::to_wstring(explained.NumberOf(missing->operation)) + L"): " +
               SupplyText(*missing);
    }
    return L"nothing was done to it; check its spelling";
}

} // namespace

bool IsInResult(const ExplainedStory& explained, const KeyFilter& filter) {
    return std::ranges::any_of(explained.verdicts, [&](const JudgedOperation& judged) {
        return (IsIn(judged.verdict) && filter.IsAbout(explained.OperationOf(judged), judged.key)) ||
               (judged.hasNewKey && !filter.Value() && filter.IsRenamingTo(judged));
    });
}

std::wstring AdviceText(const ExplainedStory& explained, const KeyFilter& filter) {
    std::wstring what = filter.Key();
    if (filter.Value()) {
        what += filter.Value()->empty() ? L", default value" : L", value \"" + *filter.Value() + L'"';
    }
    if (IsInResult(explained, filter)) {
        return Printable(what + L": it is in the result.");
    }
    const JudgedOperation* const last = LastAbout(explained, filter);
    const bool isFiller = last != nullptr && last->verdict == Verdict::Filler;
    return Printable(what +
                     (isFiller ? L": its data are not in the result; " : L": it is not in the result; ") +
                     (last ? RemedyFor(explained, *last) : OfNothing(explained, filter)) + L'.');
}

} // namespace keyreap
