#include "kit/check/comparedkey.h"
#include "kit/check/foundentries.h"
#include "kit/check/ruletable.h"

#include <algorithm>
#include <set>
#include <utility>

// What the server itself reports, which a capture doesn't look at.
namespace keyreap {

namespace {

bool FailsAnywhere(const ResultFacts& facts) {
    return !facts.redirected.Succeeds() || !facts.outside.Succeeds();
}

bool IsForeign(const DependencyFact& dependency, int bitness) {
    return !dependency.path.empty() && dependency.bitness != 0 && dependency.bitness != bitness;
}

bool IsMissing(const DependencyFact& dependency) {
    return dependency.path.empty();
}

std::wstring Both(const ResultFacts& facts) {
    const auto text = [](const CallOutcome& outcome, std::wstring_view gives) {
        return outcome.result ? std::wstring(gives) + ResultText(*outcome.result) : L"ends the process";
    };
    const bool isSame = facts.redirected.result && facts.outside.result;
    return L"DllRegisterServer " + text(facts.redirected, L"gives ") +
           L" while the roots are redirected, and " + text(facts.outside, isSame ? L"" : L"gives ") +
           L" in a full registry";
}

std::wstring CauseInRegistry(const ResultFacts& facts) {
    if (facts.lookedFor.empty()) {
        return {};
    }
    return L"; what it looked for last and didn't find there is " + facts.lookedFor.back();
}

std::wstring CauseOfFailure(const CheckInput& input) {
    const ResultFacts& facts = *input.facts.result;
    const auto isWrong = [&](const DependencyFact& dependency) {
        return IsMissing(dependency) || IsForeign(dependency, input.facts.bitness);
    };
    const auto wrong = std::ranges::find_if(facts.dependencies, isWrong);
    if (wrong == facts.dependencies.end()) {
        return L"; the cause is unknown: no DLL that its tables name is missing, and a name that is given to "
               L"LoadLibrary alone is in no table";
    }
    return L"; a likely cause is " + wrong->name;
}

std::wstring WantedBy(const DependencyFact& dependency) {
    return L"; " + dependency.importer +
           (dependency.isDelayed ? L" loads it at the first call" : L" is linked to it");
}

} // namespace

void FindFailureOfRedirection(const CheckInput& input, CheckPlaces& found) {
    const auto& facts = input.facts.result;
    if (facts && !facts->redirected.Succeeds() && facts->outside.Succeeds()) {
        found.push_back(
            {{},
             {},
             std::nullopt,
             Both(*facts) + L": the capture has a part of a registration" + CauseInRegistry(*facts)});
    }
}

void FindFailureOfServer(const CheckInput& input, CheckPlaces& found) {
    const auto& facts = input.facts.result;
    if (facts && !facts->redirected.Succeeds() && !facts->outside.Succeeds()) {
        found.push_back({{}, {}, std::nullopt, Both(*facts) + CauseOfFailure(input)});
    }
}

void FindFailureOutside(const CheckInput& input, CheckPlaces& found) {
    const auto& facts = input.facts.result;
    if (facts && facts->redirected.Succeeds() && !facts->outside.Succeeds()) {
        found.push_back({{}, {}, std::nullopt, Both(*facts)});
    }
}

void FindMissingDependencies(const CheckInput& input, CheckPlaces& found) {
    const auto& facts = input.facts.result;
    if (!facts || !FailsAnywhere(*facts)) {
        return;
    }
    for (const DependencyFact& dependency : facts->dependencies) {
        if (IsMissing(dependency)) {
            found.push_back({{}, {}, std::nullopt, dependency.name + L" is nowhere" + WantedBy(dependency)});
        }
    }
}

void FindForeignDependencies(const CheckInput& input, CheckPlaces& found) {
    const auto& facts = input.facts.result;
    if (!facts || !FailsAnywhere(*facts)) {
        return;
    }
    for (const DependencyFact& dependency : facts->dependencies) {
        if (IsForeign(dependency, input.facts.bitness)) {
            found.push_back({{},
                             {},
                             std::nullopt,
                             dependency.path + L" is a " + std::to_wstring(dependency.bitness) +
                                 L"-bit file, and the server is of " + std::to_wstring(input.facts.bitness) +
                                 L" bits" + WantedBy(dependency)});
        }
    }
}

namespace {

using PastEntry = std::pair<std::wstring, std::optional<std::wstring>>; // a key, and a value of it

std::set<PastEntry> EntriesOf(const std::vector<KeyChange>& changes, int bitness) {
    constexpr std::wstring_view ownKey = L"hkey_current_user\\software\\velmoro";
    std::set<PastEntry> entries;
    for (const KeyChange& change : changes) {
        const bool isOwn = ComparedKey(change.key, bitness).starts_with(ownKey);
        if (!isOwn && change.isCreated && change.values.empty() && !IsOfHost(change.key, L"")) {
            entries.insert({change.key, std::nullopt});
        }
        for (const ValueChange& value : change.values) {
            if (!isOwn && !IsOfHost(change.key, value.name)) {
                entries.insert({change.key, value.name});
            }
        }
    }
    return entries;
}

} // namespace

void FindEntriesPastCapture(const CheckInput& input, CheckPlaces& found) {
    if (input.facts.result) {
        for (const auto& [key, value] : EntriesOf(input.facts.result->past, input.facts.bitness)) {
            found.push_back({{}, key, value, L"is written past the redirected roots, as by another process"});
        }
    }
}

void FindEntriesAfterReturn(const CheckInput& input, CheckPlaces& found) {
    if (!input.facts.result) {
        return;
    }
    const std::set<PastEntry> past = EntriesOf(input.facts.result->past, input.facts.bitness);
    for (const PastEntry& entry : EntriesOf(input.facts.result->pastAndLater, input.facts.bitness)) {
        if (!past.contains(entry)) {
            found.push_back(
                {{}, entry.first, entry.second, L"is written when DllRegisterServer has returned"});
        }
    }
}

} // namespace keyreap
