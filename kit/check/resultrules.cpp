#include "kit/check/comparedkey.h"
#include "kit/check/foundentries.h"
#include "kit/check/ruletable.h"

#include <algorithm>

// What the server itself reports, which a capture doesn't look at.
namespace keyreap {

namespace {

bool Fails(const std::optional<std::uint32_t>& result) {
    return result && IsFailure(*result);
}

bool Succeeds(const std::optional<std::uint32_t>& result) {
    return result && !IsFailure(*result);
}

bool FailsAnywhere(const ResultFacts& facts) {
    return Fails(facts.redirected) || Fails(facts.outside);
}

bool IsForeign(const DependencyFact& dependency, int bitness) {
    return !dependency.path.empty() && dependency.bitness != 0 && dependency.bitness != bitness;
}

bool IsMissing(const DependencyFact& dependency) {
    return dependency.path.empty();
}

std::wstring Both(const ResultFacts& facts) {
    return L"DllRegisterServer gives " + ResultText(*facts.redirected) +
           L" while the roots are redirected, and " + ResultText(*facts.outside) + L" in a full registry";
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
    if (facts && Fails(facts->redirected) && Succeeds(facts->outside)) {
        found.push_back(
            {{},
             {},
             std::nullopt,
             Both(*facts) + L": the capture has a part of a registration" + CauseInRegistry(*facts)});
    }
}

void FindFailureOfServer(const CheckInput& input, CheckPlaces& found) {
    const auto& facts = input.facts.result;
    if (facts && Fails(facts->redirected) && Fails(facts->outside)) {
        found.push_back({{}, {}, std::nullopt, Both(*facts) + CauseOfFailure(input)});
    }
}

void FindFailureOutside(const CheckInput& input, CheckPlaces& found) {
    const auto& facts = input.facts.result;
    if (facts && !Fails(facts->redirected) && Fails(facts->outside)) {
        found.push_back({{},
                         {},
                         std::nullopt,
                         L"DllRegisterServer gives " + ResultText(*facts->outside) +
                             L" in a full registry, and succeeds while the roots are redirected"});
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

void FindEntriesPastCapture(const CheckInput& input, CheckPlaces& found) {
    constexpr std::wstring_view ownKey = L"hkey_current_user\\software\\velmoro";
    if (!input.facts.result) {
        return;
    }
    for (const KeyChange& change : input.facts.result->past) {
        const auto add = [&](const std::optional<std::wstring>& value) {
            if (!ComparedKey(change.key, input.facts.bitness).starts_with(ownKey) &&
                !IsOfHost(change.key, value.value_or(L""))) {
                found.push_back({{},
                                 change.key,
                                 value,
                                 L"is written past the redirected roots: by another process, or when "
                                 L"DllRegisterServer had returned"});
            }
        };
        if (change.isCreated && change.values.empty()) {
            add(std::nullopt);
        }
        for (const ValueChange& value : change.values) {
            add(value.name);
        }
    }
}

} // namespace keyreap
