#include "kit/check/comparedkey.h"
#include "kit/check/foundentries.h"
#include "kit/check/ruletable.h"

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

void AddTaken(const CheckInput& input, const KeyChange& change, TopmostKeys& topmost, CheckPlaces& found) {
    const std::wstring compared = ComparedKey(change.key, input.facts.bitness);
    if (change.isRemoved) {
        const bool isServers = input.compared.HasAtOrBelow(compared) || input.IsPastCapture(compared);
        if (!isServers && topmost.Add(compared)) {
            found.push_back(
                {{}, change.key, std::nullopt, L"is not the server's, and unregistering takes it"});
        }
        return;
    }
    for (const ValueChange& value : change.values) {
        if (value.before && !value.after && input.compared.Find(compared, value.name) == nullptr &&
            !input.IsPastCapture(compared)) {
            found.push_back({{}, change.key, value.name, L"is not the server's, and unregistering takes it"});
        }
    }
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
        for (const KeyChange& change : registration.changesAfterRemoval) {
            AddTaken(input, change, topmost, found);
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
