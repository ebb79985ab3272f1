#include "kit/check/comparedkey.h"
#include "kit/check/foundentries.h"
#include "kit/check/ruletable.h"
#include "platform/core/text/compare.h"

#include <algorithm>
#include <map>
#include <set>

// Whether the capture is what a registrar of the system makes of the server.
namespace keyreap {

namespace {

using Place = std::pair<std::wstring, std::wstring>; // a compared key and a folded name of a value

template <typename Visit>
void ForEachRegistration(const CheckInput& input, const Visit& visit) {
    for (const std::optional<RegistrationFacts>* const one : {&input.facts.empty, &input.facts.full}) {
        if (one->has_value() && (*one)->status == 0) {
            visit(**one);
        }
    }
}

// A key that was changed, under the name that the capture has for it if it has one.
std::wstring CapturedName(const CheckInput& input, const std::wstring& key) {
    const std::wstring compared = ComparedKey(key, input.facts.bitness);
    for (const std::wstring& other :
         {ComparedClassesOfUser(compared), ComparedInterfaceOfBothViews(compared)}) {
        if (!input.compared.HasAtOrBelow(compared) && input.compared.HasAtOrBelow(other)) {
            return other;
        }
    }
    return compared;
}

// A trace drops a control set's keys if they have no values, and takes a key without values for implied by
// the keys in it.
bool MayTraceLack(const CheckInput& input, const std::wstring& compared, const KeyChange& change) {
    return !input.capture.document.isHarvest && change.values.empty() &&
           compared.starts_with(L"hkey_local_machine\\system\\currentcontrolset");
}

bool HasNewValue(const KeyChange& change) {
    return std::ranges::any_of(change.values,
                               [](const ValueChange& value) { return value.after.has_value(); });
}

class Lacking {
public:
    Lacking(const CheckInput& input, const RegistrationFacts& registration, CheckPlaces& found)
        : input(input), found(found), sentence(L"is missing: the registrar of the system wrote it in " +
                                               std::wstring(RegistryName(registration))) {}

    void Visit(const KeyChange& change) {
        const std::wstring compared = CapturedName(input, change.key);
        const bool isNew = change.isCreated || HasNewValue(change);
        if (change.isRemoved || !isNew || MayTraceLack(input, compared, change)) {
            return;
        }
        if (!input.compared.HasAtOrBelow(compared)) {
            if (!IsOfHost(change.key, L"") && topmost.Add(compared)) {
                found.push_back({{}, change.key, std::nullopt, sentence});
            }
            return;
        }
        for (const ValueChange& value : change.values) {
            if (value.after && input.compared.Find(compared, value.name) == nullptr &&
                !IsOfHost(change.key, value.name)) {
                found.push_back({{}, change.key, value.name, sentence});
            }
        }
    }

private:
    const CheckInput& input;
    CheckPlaces& found;
    std::wstring sentence;
    TopmostKeys topmost;
};

// The values that a registration set, by their places.
std::set<Place> ValuesSet(const CheckInput& input, const RegistrationFacts& registration) {
    std::set<Place> places;
    for (const KeyChange& change : registration.changes) {
        for (const ValueChange& value : change.values) {
            places.insert({CapturedName(input, change.key), FoldedText(value.name)});
        }
    }
    return places;
}

const ValueData* FindValue(const KeyState& state, const std::wstring& name) {
    const auto found = std::ranges::find_if(
        state.values, [&name](const auto& value) { return EqualFolded(value.first, name); });
    return found == state.values.end() ? nullptr : &found->second;
}

using States = std::map<std::wstring, const KeyState*>; // by compared keys

States StatesByKey(const CheckInput& input, const RegistrationFacts& registration) {
    States states;
    for (const KeyState& state : registration.states) {
        states.insert_or_assign(ComparedKey(state.key, input.facts.bitness), &state);
    }
    return states;
}

// Where a registration set a value that the capture has, but in the view of the other bitness.
bool IsInOtherView(const CheckInput& input, const States& states, const KeyChange& change,
                   const std::wstring& value) {
    const std::wstring compared = CapturedName(input, change.key);
    if (input.facts.bitness == 64) {
        return input.compared.Find(compared, value) == nullptr &&
               input.compared.Find(ComparedKeyInOwnView(compared), value) != nullptr;
    }
    const auto state = states.find(compared);
    return input.compared.Find(compared, value) != nullptr && state != states.end() &&
           FindValue(*state->second, value) == nullptr;
}

// Calls visit(section, state) for each key of the capture that sets values or has no keys in it.
template <typename Visit>
void ForEachState(const CheckInput& input, const RegistrationFacts& registration, const Visit& visit) {
    for (const KeyState& state : registration.states) {
        const std::wstring compared = ComparedKey(state.key, input.facts.bitness);
        const ComparedSection* const section = input.compared.Find(compared);
        if (section != nullptr && !section->isCapturesOwn && input.compared.HasContent(compared)) {
            visit(compared, *section, state);
        }
    }
}

// Each place once, whichever registries show it.
class OncePerPlace {
public:
    bool IsNew(const std::wstring& key, const std::optional<std::wstring>& value) {
        return places.insert({key, value}).second;
    }

private:
    std::set<std::pair<std::wstring, std::optional<std::wstring>>> places;
};

const ValueData* FindRegistered(const CheckInput& input, const std::optional<RegistrationFacts>& registration,
                                const std::wstring& compared, const std::wstring& name) {
    if (!registration) {
        return nullptr;
    }
    const States states = StatesByKey(input, *registration);
    const auto state = states.find(compared);
    return state == states.end() ? nullptr : FindValue(*state->second, name);
}

// A GUID that differs between two registrations, too: the server makes one up whenever it registers.
bool IsMadeUp(const CheckInput& input, const std::wstring& compared, const RegEntry& entry,
              const ValueData& data) {
    // The usual case, which needs no search.
    if (!AreGuids(entry, data)) {
        return false;
    }
    const ValueData* const empty = FindRegistered(input, input.facts.empty, compared, entry.name);
    const ValueData* const full = FindRegistered(input, input.facts.full, compared, entry.name);
    return empty != nullptr && full != nullptr && empty->data != full->data && AreGuids(entry, *empty) &&
           AreGuids(entry, *full);
}

} // namespace

void FindLackingEntries(const CheckInput& input, CheckPlaces& found) {
    CheckPlaces all;
    ForEachRegistration(input, [&](const RegistrationFacts& registration) {
        Lacking lacking(input, registration, all);
        std::ranges::for_each(registration.changes, [&](const KeyChange& change) { lacking.Visit(change); });
    });
    OncePerPlace once;
    std::ranges::copy_if(all, std::back_inserter(found), [&](const CheckFinding& finding) {
        // Registries may have other spellings of a key, with Wow6432Node and without.
        return once.IsNew(ComparedKey(finding.key, input.facts.bitness), finding.value);
    });
}

void FindEntriesOfOtherView(const CheckInput& input, CheckPlaces& found) {
    OncePerPlace once;
    ForEachRegistration(input, [&](const RegistrationFacts& registration) {
        const States states = StatesByKey(input, registration);
        for (const KeyChange& change : registration.changes) {
            for (const ValueChange& value : change.values) {
                if (value.after && IsInOtherView(input, states, change, value.name) &&
                    once.IsNew(change.key, value.name)) {
                    found.push_back(
                        {{},
                         change.key,
                         value.name,
                         L"is in the view of the other bitness, and the capture has it in the server's own"});
                }
            }
        }
    });
}

void FindEntriesBesides(const CheckInput& input, CheckPlaces& found) {
    OncePerPlace once;
    ForEachRegistration(input, [&](const RegistrationFacts& registration) {
        const std::wstring sentence = L"is in the capture alone: after a registration in " +
                                      std::wstring(RegistryName(registration)) + L" it isn't there";
        const auto add = [&](const ComparedSection& section, const std::optional<std::wstring>& value) {
            if (!input.IsNoise(section.path, value) && once.IsNew(section.path, value)) {
                found.push_back({{}, section.path, value, sentence});
            }
        };
        ForEachState(input, registration,
                     [&](const std::wstring&, const ComparedSection& section, const KeyState& state) {
                         if (!state.isThere) {
                             add(section, std::nullopt);
                             return;
                         }
                         for (const auto& [name, entry] : section.entries) {
                             if (FindValue(state, entry->name) == nullptr) {
                                 add(section, entry->name);
                             }
                         }
                     });
    });
}

void FindOtherData(const CheckInput& input, CheckPlaces& found) {
    OncePerPlace once;
    ForEachRegistration(input, [&](const RegistrationFacts& registration) {
        const std::set<Place> set = ValuesSet(input, registration);
        ForEachState(
            input, registration,
            [&](const std::wstring& compared, const ComparedSection& section, const KeyState& state) {
                for (const auto& [name, entry] : section.entries) {
                    const ValueData* const data = FindValue(state, entry->name);
                    const bool isExplained = data == nullptr || AreSameData(*entry, *data) ||
                                             MayBeSameFile(*entry, *data) ||
                                             IsMadeUp(input, compared, *entry, *data) ||
                                             // A server that looks before it writes leaves what it finds.
                                             !set.contains({compared, name});
                    if (!isExplained && once.IsNew(section.path, entry->name)) {
                        found.push_back({{},
                                         section.path,
                                         entry->name,
                                         L"has other data after a registration in " +
                                             std::wstring(RegistryName(registration))});
                    }
                }
            });
    });
}

void FindRemovalsByRegistration(const CheckInput& input, CheckPlaces& found) {
    TopmostKeys topmost;
    ForEachRegistration(input, [&](const RegistrationFacts& registration) {
        for (const KeyChange& change : registration.changes) {
            if (change.isRemoved && topmost.Add(ComparedKey(change.key, input.facts.bitness))) {
                found.push_back(
                    {{}, change.key, std::nullopt, L"was there, and the registration removes it"});
            }
            for (const ValueChange& value : change.values) {
                if (!change.isRemoved && value.before && !value.after) {
                    found.push_back(
                        {{}, change.key, value.name, L"was there, and the registration removes it"});
                }
            }
        }
    });
}

void FindFailingRegistrars(const CheckInput& input, CheckPlaces& found) {
    for (const auto* const one : {&input.facts.empty, &input.facts.full}) {
        // The rules of results say why the export fails in a full registry.
        const bool isExplained = one == &input.facts.full && input.facts.result;
        if (*one && (*one)->status != 0 && !isExplained) {
            found.push_back({{},
                             {},
                             std::nullopt,
                             L"the registrar of the system ended with " + StatusText((*one)->status) +
                                 L" in " + std::wstring(RegistryName(**one))});
        }
    }
}

void FindClassesOfUser(const CheckInput& input, CheckPlaces& found) {
    TopmostKeys topmost;
    for (const auto& [key, section] : input.compared.Sections()) {
        const std::wstring ofMachine = ComparedClassesOfUser(key);
        const bool isObject = ofMachine != key && !IsContainerOfClasses(ofMachine);
        if (isObject && topmost.Add(key)) {
            found.push_back({{},
                             section.path,
                             std::nullopt,
                             L"is registered for the user alone who captured it, and nobody else finds it"});
        }
    }
}

} // namespace keyreap
