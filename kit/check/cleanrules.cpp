#include "kit/check/comparedkey.h"
#include "kit/check/foundentries.h"
#include "kit/check/ruletable.h"

#include <algorithm>
#include <set>

// What unregistering leaves of the server, and takes of others.
namespace keyreap {

namespace {

bool IsOfOthers(const CheckInput& input, const std::wstring& key, const std::optional<std::wstring>& value) {
    return IsOfHost(key, value.value_or(L"")) || input.IsNoise(key, value);
}

template <typename Visit>
void ForEachRemoval(const CheckInput& input, const Visit& visit) {
    for (const auto* const one : {&input.facts.empty, &input.facts.full}) {
        // Where the server was not registered, its removal has nothing to do.
        if (*one && (*one)->status == 0 && (*one)->removalStatus) {
            visit(**one);
        }
    }
}

void AddLeft(const CheckInput& input, const KeyChange& change, TopmostKeys& topmost, CheckPlaces& found) {
    const std::wstring compared = ComparedKey(change.key, input.facts.bitness);
    const bool isKey =
        change.isCreated && !IsContainerOfClasses(compared) && !IsOfOthers(input, change.key, std::nullopt);
    if (isKey) {
        if (topmost.Add(compared)) {
            found.push_back({{}, change.key, std::nullopt, L"is left when the server is unregistered"});
        }
        return;
    }
    for (const ValueChange& value : change.values) {
        if (value.after && !change.isCreated && !IsOfOthers(input, change.key, value.name)) {
            found.push_back({{},
                             change.key,
                             value.name,
                             value.before ? L"has other data after the server was registered and unregistered"
                                          : L"is left when the server is unregistered"});
        }
    }
}

// What was in the registry before is the server's only if the capture has it just so.
bool IsServers(const CheckInput& input, const std::wstring& compared, const ValueChange& value) {
    const RegEntry* const entry = input.compared.Find(compared, value.name);
    return input.IsPastCapture(compared) ||
           (entry != nullptr && (AreSameData(*entry, *value.before) || MayBeSameFile(*entry, *value.before)));
}

void AddTaken(const CheckInput& input, const KeyChange& change, TopmostKeys& topmost, CheckPlaces& found) {
    constexpr std::wstring_view sentence = L"is not the server's, and unregistering takes it";
    const std::wstring compared = ComparedKey(change.key, input.facts.bitness);
    const bool isServers = input.compared.HasAtOrBelow(compared) || input.IsPastCapture(compared);
    if (change.isRemoved && !isServers) {
        if (topmost.Add(compared)) {
            found.push_back({{}, change.key, std::nullopt, std::wstring(sentence)});
        }
        return;
    }
    for (const ValueChange& value : change.values) {
        if (value.before && !value.after && !IsServers(input, compared, value)) {
            found.push_back({{}, change.key, value.name, std::wstring(sentence)});
        }
    }
}

std::set<std::wstring> RemovedByRegistration(const RegistrationFacts& registration) {
    std::set<std::wstring> keys;
    for (const KeyChange& change : registration.changes) {
        const auto isGone = [](const ValueChange& value) { return value.before && !value.after; };
        if (change.isRemoved || std::ranges::any_of(change.values, isGone)) {
            keys.insert(change.key);
        }
    }
    return keys;
}

} // namespace

void FindWhatIsLeft(const CheckInput& input, CheckPlaces& found) {
    TopmostKeys topmost;
    ForEachRemoval(input, [&](const RegistrationFacts& registration) {
        for (const KeyChange& change : registration.changesAfterRemoval) {
            AddLeft(input, change, topmost, found);
        }
    });
}

void FindWhatIsTaken(const CheckInput& input, CheckPlaces& found) {
    TopmostKeys topmost;
    ForEachRemoval(input, [&](const RegistrationFacts& registration) {
        const std::set<std::wstring> earlier = RemovedByRegistration(registration);
        for (const KeyChange& change : registration.changesAfterRemoval) {
            // C107 names it.
            if (!earlier.contains(change.key)) {
                AddTaken(input, change, topmost, found);
            }
        }
    });
}

void FindFailingRemovals(const CheckInput& input, CheckPlaces& found) {
    ForEachRemoval(input, [&](const RegistrationFacts& registration) {
        if (*registration.removalStatus != 0) {
            found.push_back(
                {{},
                 {},
                 std::nullopt,
                 L"the registrar of the system ended with " + StatusText(*registration.removalStatus) +
                     L" when it unregistered the server in " + std::wstring(RegistryName(registration))});
        }
    });
}

} // namespace keyreap
