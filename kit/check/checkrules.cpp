#include "kit/check/checkrules.h"

#include "kit/check/comparedkey.h"
#include "kit/check/ruletable.h"
#include "platform/core/text/compare.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

namespace keyreap {

namespace {

constexpr std::array<CheckRule, 26> rules = {{
    {"C101", "an entry that the capture lacks", CheckPart::Whole, FindLackingEntries},
    {"C102", "an entry that only the capture has", CheckPart::Whole, FindEntriesBesides},
    {"C103", "other data than a registration has", CheckPart::Whole, FindOtherData},
    {"C104", "a registration that fails", CheckPart::Whole, FindFailingRegistrars},
    {"C105", "a class of one user alone", CheckPart::Whole, FindClassesOfUser},
    {"C106", "an entry of the other view", CheckPart::Whole, FindEntriesOfOtherView},
    {"C107", "an entry of others that registering takes", CheckPart::Whole, FindRemovalsByRegistration},
    {"C201", "half a registration", CheckPart::Result, FindFailureOfRedirection},
    {"C202", "a server that reports failure", CheckPart::Result, FindFailureOfServer},
    {"C203", "a server that fails outside of the capture alone", CheckPart::Result, FindFailureOutside},
    {"C204", "a dependency that is nowhere", CheckPart::Result, FindMissingDependencies},
    {"C205", "a dependency of the other bitness", CheckPart::Result, FindForeignDependencies},
    {"C206", "an entry that is written past the capture", CheckPart::Result, FindEntriesPastCapture},
    {"C207", "an entry that is written after the capture", CheckPart::Result, FindEntriesAfterReturn},
    {"C301", "a class that the capture alone doesn't make usable", CheckPart::Works,
     FindClassesOfRegistrationAlone},
    {"C302", "a class that can't be created", CheckPart::Works, FindClassesOfNoUse},
    {"C401", "an entry that unregistering leaves", CheckPart::Clean, FindWhatIsLeft},
    {"C402", "an entry of others that unregistering takes", CheckPart::Clean, FindWhatIsTaken},
    {"C403", "unregistering that fails", CheckPart::Clean, FindFailingRemovals},
    {"C501", "noise of the system", CheckPart::Noise, FindNoise},
    {"C502", "a server that registers once in a process", CheckPart::Noise, FindOncePerProcess},
    {"C503", "a server that refuses to register again", CheckPart::Noise, FindRefusalsOfSecondTime},
    {"C601", "data that name the machine or its user", CheckPart::Same, FindNamesOfMachine},
    {"C602", "data that change from capture to capture", CheckPart::Same, FindChangingData},
    {"C603", "an entry that isn't in every capture", CheckPart::Same, FindChangingEntries},
    {"C701", "a filler in the place of data", CheckPart::Fillers, FindFillersOfCapture},
}};

std::optional<std::wstring> FoldedValue(const std::optional<std::wstring>& value) {
    return value ? std::optional(FoldedText(*value)) : std::nullopt;
}

using FindingPlace = std::tuple<std::wstring, std::optional<std::wstring>, std::wstring>;

} // namespace

CheckInput::CheckInput(const Capture& capture, const CheckFacts& facts)
    : capture(capture), facts(facts), compared(capture.document, facts.bitness),
      noise(NoiseOf(capture, facts)) {
    for (const NoiseEntry& entry : noise) {
        foldedNoise.insert({ComparedKey(entry.key, facts.bitness), FoldedValue(entry.value)});
    }
    if (facts.result) {
        for (const KeyChange& change : facts.result->pastAndLater) {
            pastCapture.insert(ComparedKey(change.key, facts.bitness));
        }
    }
}

bool CheckInput::IsNoise(std::wstring_view key, const std::optional<std::wstring>& value) const {
    return foldedNoise.contains({ComparedKey(key, facts.bitness), FoldedValue(value)});
}

bool CheckInput::IsPastCapture(std::wstring_view comparedKey) const {
    return pastCapture.contains(std::wstring(comparedKey));
}

std::span<const CheckRule> CheckRules() {
    return rules;
}

std::vector<CheckFinding> FindingsOf(const CheckInput& input, std::span<const CheckPart> parts,
                                     std::span<const std::string> without) {
    std::vector<CheckFinding> all;
    for (const CheckRule& rule : rules) {
        if (std::ranges::find(parts, rule.part) == parts.end() ||
            std::ranges::find(without, rule.number) != without.end()) {
            continue;
        }
        CheckPlaces found;
        rule.find(input, found);
        std::set<FindingPlace> places;
        for (CheckFinding& finding : found) {
            finding.rule = rule.number;
            if (places.insert({finding.key, finding.value, finding.sentence}).second) {
                all.push_back(std::move(finding));
            }
        }
    }
    return all;
}

void FindFillersOfCapture(const CheckInput& input, CheckPlaces& found) {
    for (const auto& [key, section] : input.compared.Sections()) {
        for (const auto& [name, entry] : section.entries) {
            if (IsFiller(*entry)) {
                found.push_back({{}, section.path, entry->name, ReasonAgainstEntry(*entry)});
            }
        }
    }
}

} // namespace keyreap
