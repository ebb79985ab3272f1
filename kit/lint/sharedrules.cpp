#include "kit/capture/libraryentries.h"
#include "kit/lint/ruletable.h"
#include "platform/core/text/compare.h"
#include "regmodel/regplace.h"

// Rules about keys that aren't the server's alone, or aren't where an installer writes.
namespace keyreap {

namespace {

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
        if (!writer.empty()) {
            findings.push_back({place, L"is what " + std::wstring(writer)});
        }
    };
    for (const Capture& capture : input.Captures()) {
        ForEachEntry(capture, [&](const RegEntry&, const EntryPlace& place) {
            add(place, LibraryThatWrites(place.key, place.value));
        });
    }
    const auto addObject = [&](const RegObject& object, const auto&, const EntryPlace& place) {
        add(place, LibraryThatWrites(object));
    };
    ForEachObject<ClassFacts>(input, addObject);
    ForEachObject<TypeLibFacts>(input, addObject);
    ForEachObject<InterfaceFacts>(input, addObject);
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
