#pragma once

#include "kit/capture/capture.h"
#include "kit/capture/pathforms.h"
#include "regmodel/registrymodel.h"

#include <cstddef>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace keyreap {

// What the rules look at. Keeps references to the captures.
class LintInput {
public:
    // The servers are given by the paths where they were captured. Without any, the files that the captures
    // name as servers are taken for them. `against` is an older capture, or null.
    LintInput(std::span<const Capture> captures, std::span<const std::wstring> servers,
              const Capture* against);

    std::span<const Capture> Captures() const { return captures; }
    const Capture* Against() const { return against; }

    // The objects of a capture, by its number.
    const RegistryModel& ModelOfCapture(std::size_t capture) const { return models[capture]; }

    // True if one of the captures has the object, in any hive and view.
    bool IsThere(ObjectKind kind, std::wstring_view id) const;

    // The object; null if none of the captures has it.
    const RegObject* Find(ObjectKind kind, std::wstring_view id) const;

    // The servers' files and folders.
    const std::vector<CapturedPath>& ServerPaths() const { return serverPaths; }

    // The same with what all captures name as servers, the older one too. Both sides of a comparison need the
    // same ones, since a path is comparable by them.
    const std::vector<CapturedPath>& ComparedPaths() const { return comparedPaths; }

private:
    using Name = std::pair<ObjectKind, std::wstring>; // folded

    std::span<const Capture> captures;
    const Capture* against;
    std::vector<RegistryModel> models;
    std::map<Name, const RegObject*> objects;
    std::vector<CapturedPath> serverPaths;
    std::vector<CapturedPath> comparedPaths;
};

// The key of an object, whose first section may be below it. An object without keys has none.
EntryPlace PlaceOfObject(const Capture& capture, const RegObject& object);

// A key below another one, or a value of it.
EntryPlace KeyIn(const EntryPlace& key, std::wstring_view name);
EntryPlace ValueIn(const EntryPlace& key, std::wstring_view name);

// Calls visit(section, place) for each key that the server may have registered.
template <typename Visit>
void ForEachSection(const Capture& capture, const Visit& visit) {
    for (const RegSection& section : capture.document.sections) {
        if (!section.isDeletion && !section.isCapturesOwn) {
            visit(section, EntryPlace{capture.file, section.line, section.path, true, {}});
        }
    }
}

// Calls visit(entry, place) for each of their entries.
template <typename Visit>
void ForEachEntry(const Capture& capture, const Visit& visit) {
    ForEachSection(capture, [&](const RegSection& section, const EntryPlace&) {
        for (const RegEntry& entry : section.entries) {
            visit(entry, EntryPlace{capture.file, entry.line, section.path, false, entry.name});
        }
    });
}

// Calls visit(object, facts, place) for each object with these facts, of all captures.
template <typename Facts, typename Visit>
void ForEachObject(const LintInput& input, const Visit& visit) {
    for (std::size_t i = 0; i < input.Captures().size(); ++i) {
        for (const RegObject& object : input.ModelOfCapture(i).objects) {
            if (const auto* const facts = std::get_if<Facts>(&object.facts)) {
                visit(object, *facts, PlaceOfObject(input.Captures()[i], object));
            }
        }
    }
}

// The folded paths of all keys of a capture that have values or no keys in them.
std::set<std::wstring> KeysWithContent(const Capture& capture);

} // namespace keyreap
