#include "kit/check/comparedkey.h"
#include "kit/check/foundentries.h"
#include "kit/check/ruletable.h"
#include "platform/core/text/compare.h"
#include "regmodel/registrymodel.h"

#include <algorithm>

// What a library of the system wrote as if it were the server, and what only looks like that.
namespace keyreap {

namespace {

// The folded names that make an entry the server's own: its file, and the objects in the capture that have a
// GUID or a name of their own.
std::vector<std::wstring> OwnNames(const Capture& capture, const std::wstring& server) {
    std::vector<std::wstring> names = {FoldedText(server.substr(server.rfind(L'\\') + 1))};
    for (const RegObject& object : ModelOf(capture.document).objects) {
        if (object.identity.kind != ObjectKind::Service && !object.identity.id.empty()) {
            names.push_back(object.identity.id);
        }
    }
    return names;
}

// Of the three captures.
class Witnesses {
public:
    Witnesses(const Capture& capture, const CheckFacts& facts)
        : first(facts.witnesses->first, facts.bitness), second(facts.witnesses->second, facts.bitness),
          preloaded(facts.witnesses->preloaded, facts.bitness), names(OwnNames(capture, facts.server)) {}

    bool AgreeOnKey(const std::wstring& compared) const {
        return first.HasAtOrBelow(compared) && !second.HasAtOrBelow(compared) &&
               !preloaded.HasAtOrBelow(compared) && !NamesServer(compared);
    }

    bool AgreeOnValue(const std::wstring& compared, const RegEntry& entry) const {
        return first.Find(compared, entry.name) != nullptr && second.Find(compared, entry.name) == nullptr &&
               preloaded.Find(compared, entry.name) == nullptr && !NamesServer(compared) &&
               !NamesServer(FoldedText(entry.name)) && !NamesServer(FoldedText(DataUnits(entry.data)));
    }

private:
    bool NamesServer(std::wstring_view folded) const {
        return std::ranges::any_of(names, [folded](const std::wstring& name) {
            return folded.find(name) != std::wstring_view::npos;
        });
    }

    ComparedCapture first;
    ComparedCapture second;
    ComparedCapture preloaded;
    std::vector<std::wstring> names;
};

struct FirstOnly {
    std::size_t count = 0;
    std::wstring key;
    std::optional<std::wstring> value;
};

// The entries of both captures of fresh processes that the second capture in a process lacks.
FirstOnly EntriesOfFirstTime(const WitnessFacts& facts, int bitness) {
    const ComparedCapture first(facts.first, bitness);
    const ComparedCapture second(facts.second, bitness);
    const ComparedCapture preloaded(facts.preloaded, bitness);
    FirstOnly only;
    const auto add = [&only](const std::wstring& key, const std::optional<std::wstring>& value) {
        if (only.count++ == 0) {
            only.key = key;
            only.value = value;
        }
    };
    for (const auto& [compared, section] : first.Sections()) {
        if (first.HasContent(compared) && !second.HasAtOrBelow(compared) &&
            preloaded.HasAtOrBelow(compared)) {
            add(section.path, std::nullopt);
        }
        for (const auto& [name, entry] : section.entries) {
            if (second.HasAtOrBelow(compared) && second.Find(compared, name) == nullptr &&
                preloaded.Find(compared, name) != nullptr) {
                add(section.path, entry->name);
            }
        }
    }
    return only;
}

} // namespace

std::vector<NoiseEntry> NoiseOf(const Capture& capture, const CheckFacts& facts) {
    std::vector<NoiseEntry> noise;
    if (!facts.witnesses) {
        return noise;
    }
    const Witnesses witnesses(capture, facts);
    const ComparedCapture own(capture.document, facts.bitness);
    for (const RegSection& section : capture.document.sections) {
        if (section.isDeletion || section.isCapturesOwn) {
            continue;
        }
        const std::wstring compared = ComparedKey(section.path, facts.bitness);
        // A key that has only other keys is nobody's entry.
        bool isAllNoise = own.HasContent(compared) && witnesses.AgreeOnKey(compared);
        const std::size_t first = noise.size();
        for (const RegEntry& entry : section.entries) {
            if (entry.kind != RegEntryKind::Deletion && witnesses.AgreeOnValue(compared, entry)) {
                noise.push_back({section.path, entry.name});
            } else {
                isAllNoise = false;
            }
        }
        if (isAllNoise) {
            noise.insert(noise.begin() + static_cast<std::ptrdiff_t>(first), {section.path, std::nullopt});
        }
    }
    return noise;
}

void FindNoise(const CheckInput& input, CheckPlaces& found) {
    for (const NoiseEntry& entry : input.noise) {
        found.push_back(
            {{},
             entry.key,
             entry.value,
             L"was written by a library of the system when it was loaded, and not by the server"});
    }
}

void FindOncePerProcess(const CheckInput& input, CheckPlaces& found) {
    if (input.facts.hasNoSecond) {
        found.push_back({{}, {}, std::nullopt, L"the server can't register a second time in a process"});
    }
    if (!input.facts.witnesses) {
        return;
    }
    const FirstOnly only = EntriesOfFirstTime(*input.facts.witnesses, input.facts.bitness);
    if (only.count > 0) {
        found.push_back(
            {{},
             only.key,
             only.value,
             L"is registered only at the first time in a process" +
                 (only.count == 1 ? std::wstring()
                                  : L", as are " + std::to_wstring(only.count - 1) + L" others")});
    }
}

void FindRefusalsOfSecondTime(const CheckInput& input, CheckPlaces& found) {
    const auto& full = input.facts.full;
    if (full && full->status == 0 && full->secondStatus.value_or(0) != 0) {
        found.push_back({{},
                         {},
                         std::nullopt,
                         L"the registrar of the system ended with " + StatusText(*full->secondStatus) +
                             L" when the server was there already"});
    }
}

} // namespace keyreap
