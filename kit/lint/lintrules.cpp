#include "kit/lint/lintrules.h"

#include "kit/lint/ruletable.h"

#include <algorithm>
#include <array>
#include <tuple>

namespace keyreap {

namespace {

constexpr std::array<LintRule, 22> rules = {{
    {"K101", "an empty capture", FindEmptyCapture},
    {"K102", "a filler in the place of data", FindFillers},
    {"K103", "names that no server used", FindStrayNames},
    {"K104", "an entry that doesn't set the server's value", FindUnsetValues},
    {"K105", "a place that can be read in two ways", FindAmbiguities},
    {"K201", "a class without a server", FindClassesWithoutServer},
    {"K202", "no threading model", FindMissingThreadingModels},
    {"K203", "an unknown threading model", FindUnknownThreadingModels},
    {"K204", "a ProgID that isn't there", FindMissingProgIds},
    {"K205", "a ProgID without its class", FindProgIdsWithoutClass},
    {"K206", "a type library that isn't there", FindMissingTypeLibs},
    {"K207", "an interface without a proxy", FindInterfacesWithoutProxy},
    {"K301", "a path that is none of the server's", FindForeignPaths},
    {"K302", "a command with blanks in its path and no quotes", FindMissingQuotes},
    {"K401", "an object of the system", FindObjectsOfSystem},
    {"K402", "an entry that a library of the system writes", FindEntriesOfLibraries},
    {"K403", "keys of a user beside the machine's", FindKeysOfUsers},
    {"K404", "a key of the other view", FindOtherView},
    {"K501", "permissions open to everybody", FindOpenPermissions},
    {"K601", "gone since the older capture", FindGone},
    {"K602", "new since the older capture", FindNew},
    {"K603", "changed since the older capture", FindChanged},
}};

auto OrderOf(const RuleFinding& found) {
    const EntryPlace& place = found.finding.place;
    return std::tie(place.file, found.rule->number, place.key, place.value, place.isKey,
                    found.finding.sentence);
}

} // namespace

std::span<const LintRule> LintRules() {
    return rules;
}

std::vector<RuleFinding> FindingsIn(const LintInput& input) {
    std::vector<RuleFinding> all;
    for (const LintRule& rule : rules) {
        Findings findings;
        rule.find(input, findings);
        for (Finding& finding : findings) {
            all.push_back({&rule, std::move(finding)});
        }
    }
    const auto isBefore = [](const RuleFinding& left, const RuleFinding& right) {
        return OrderOf(left) < OrderOf(right);
    };
    const auto isSame = [](const RuleFinding& left, const RuleFinding& right) {
        return OrderOf(left) == OrderOf(right);
    };
    std::ranges::sort(all, isBefore);
    all.erase(std::unique(all.begin(), all.end(), isSame), all.end());
    return all;
}

} // namespace keyreap
