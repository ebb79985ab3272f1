#include "kit/lint/ruletable.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"
#include "regmodel/regplace.h"

#include <algorithm>
#include <array>

// Rules about keys that aren't the server's alone, or aren't where an installer writes.
namespace keyreap {

namespace {

// What the libraries of the system write on behalf of whoever calls them.
struct LibraryPlace {
    std::wstring_view path;  // below Software, in any hive
    std::wstring_view value; // empty: all values, and the keys below
    std::wstring_view writer;
};

constexpr std::wstring_view shell = L"the shell's library writes for every program that asks for a folder";
constexpr std::wstring_view profiles = L"the library of profiles writes";
constexpr std::wstring_view cryptography = L"the library of cryptography writes";

constexpr std::array<LibraryPlace, 5> libraryPlaces = {{
    {L"Microsoft\\Windows NT\\CurrentVersion\\ProfileList", L"", profiles},
    {L"Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders", L"", shell},
    {L"Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders", L"", shell},
    {L"Microsoft\\Cryptography", L"MachineGuid", cryptography},
    {L"Wine\\Fonts", L"", L"Wine writes"},
}};

// What the run-time library of Visual Basic 6 registers beside each of its servers.
constexpr std::wstring_view basic = L"the run-time library of Visual Basic 6 writes beside each server";
constexpr std::wstring_view basicsClass = L"{D5DE8D20-5BB8-11D1-A1E3-00A0C90F2731}";
constexpr std::array<std::wstring_view, 2> basicsTypeLibs = {L"{EA544A21-C82D-11D1-A3E4-00A0C90AEA82}",
                                                             L"{000204EF-0000-0000-C000-000000000046}"};

bool IsBasicsTypeLib(std::wstring_view id) {
    return std::ranges::any_of(basicsTypeLibs,
                               [id](std::wstring_view library) { return EqualFolded(id, library); });
}

bool IsAtOrBelow(const std::vector<std::wstring>& names, std::wstring_view path, bool mayBeBelow) {
    const std::vector<std::wstring> wanted = SplitText(path, L"\\", true);
    const bool fits = mayBeBelow ? names.size() >= wanted.size() : names.size() == wanted.size();
    return fits && std::equal(wanted.begin(), wanted.end(), names.begin(),
                              [](const auto& left, const auto& right) { return EqualFolded(left, right); });
}

const LibraryPlace* LibraryOf(const EntryPlace& place) {
    const RegPlace key = PlaceOf(place.key);
    const auto fits = [&](const LibraryPlace& library) {
        return key.scope.area == RegArea::Software &&
               IsAtOrBelow(key.names, library.path, library.value.empty()) &&
               (library.value.empty() || EqualFolded(library.value, place.value));
    };
    const auto* const found = std::ranges::find_if(libraryPlaces, fits);
    return found == libraryPlaces.end() ? nullptr : found;
}

bool IsOfUser(std::wstring_view keyPath) {
    const RegHive hive = PlaceOf(keyPath).scope.hive;
    return hive == RegHive::CurrentUser || hive == RegHive::Users;
}

// Calls visit(place) for each key that has content.
template <typename Visit>
void ForEachKeyWithContent(const Capture& capture, const Visit& visit) {
    const std::set<std::wstring> keys = KeysWithContent(capture);
    ForEachSection(capture, [&](const RegSection& section, const EntryPlace& place) {
        if (keys.contains(FoldedText(section.path))) {
            visit(place);
        }
    });
}

bool HasKeysOfMachine(const Capture& capture) {
    bool hasSome = false;
    ForEachKeyWithContent(capture,
                          [&](const EntryPlace& place) { hasSome = hasSome || !IsOfUser(place.key); });
    return hasSome;
}

template <typename Facts>
void FindObjectsOfSystemWith(const LintInput& input, std::wstring_view what, Findings& findings) {
    ForEachObject<Facts>(input, [&](const RegObject& object, const Facts&, const EntryPlace& place) {
        if (IsOfSystem(object.identity.id)) {
            findings.push_back({place, L"is " + std::wstring(what) +
                                           L" of the system, which others need after the product is gone"});
        }
    });
}

} // namespace

void FindObjectsOfSystem(const LintInput& input, Findings& findings) {
    FindObjectsOfSystemWith<ClassFacts>(input, L"a class", findings);
    FindObjectsOfSystemWith<InterfaceFacts>(input, L"an interface", findings);
    FindObjectsOfSystemWith<TypeLibFacts>(input, L"a type library", findings);
    FindObjectsOfSystemWith<CategoryFacts>(input, L"a category", findings);
}

void FindEntriesOfLibraries(const LintInput& input, Findings& findings) {
    const auto add = [&findings](const EntryPlace& place, std::wstring_view writer) {
        findings.push_back({place, L"is what " + std::wstring(writer)});
    };
    for (const Capture& capture : input.Captures()) {
        ForEachEntry(capture, [&](const RegEntry&, const EntryPlace& place) {
            if (const LibraryPlace* const library = LibraryOf(place)) {
                add(place, library->writer);
            }
        });
    }
    ForEachObject<ClassFacts>(input,
                              [&](const RegObject& object, const ClassFacts&, const EntryPlace& place) {
                                  if (EqualFolded(object.id, basicsClass)) {
                                      add(place, basic);
                                  }
                              });
    ForEachObject<TypeLibFacts>(input,
                                [&](const RegObject& object, const TypeLibFacts&, const EntryPlace& place) {
                                    if (IsBasicsTypeLib(object.id)) {
                                        add(place, basic);
                                    }
                                });
    ForEachObject<InterfaceFacts>(
        input, [&](const RegObject&, const InterfaceFacts& facts, const EntryPlace& place) {
            if (IsBasicsTypeLib(facts.typeLib)) {
                add(place, basic);
            }
        });
}

void FindKeysOfUsers(const LintInput& input, Findings& findings) {
    for (const Capture& capture : input.Captures()) {
        if (!HasKeysOfMachine(capture)) {
            continue;
        }
        ForEachKeyWithContent(capture, [&](const EntryPlace& place) {
            if (IsOfUser(place.key)) {
                findings.push_back({place, L"is a key of a user, beside keys of the machine"});
            }
        });
    }
}

void FindOtherView(const LintInput& input, Findings& findings) {
    for (const Capture& capture : input.Captures()) {
        ForEachKeyWithContent(capture, [&](const EntryPlace& place) {
            if (PlaceOf(place.key).scope.view == RegView::Wow6432) {
                findings.push_back({place, L"names the 32-bit view, which an installer chooses by itself"});
            }
        });
    }
}

} // namespace keyreap
