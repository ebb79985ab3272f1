#include "kit/manifest/collectedobjects.h"

#include "kit/emit/captureissues.h"
#include "kit/emit/entrydata.h"
#include "kit/emit/xmltext.h"
#include "platform/core/text/compare.h"
#include "regmodel/registrymodel.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace keyreap {

namespace {

// What a manifest has no place for; empty for the kinds that it can have.
std::wstring_view ReasonAgainstKind(ObjectKind kind) {
    switch (kind) {
    case ObjectKind::AppId:
        return L"belongs to an AppID, which no manifest can have";
    case ObjectKind::Category:
        return L"belongs to a category, which no manifest can have";
    case ObjectKind::Extension:
        return L"belongs to a file association, which no manifest can have";
    case ObjectKind::ShellExtension:
        return L"belongs to a shell extension, which no manifest can have";
    case ObjectKind::Service:
        return L"belongs to a service, which no manifest can have";
    default:
        return {};
    }
}

constexpr std::wstring_view reasonAgainstOthers = L"is no part of a class, an interface, a type library or a "
                                                  L"ProgID, which are all that a manifest can have";

bool HasXmlTexts(const InstallValue& value) {
    const auto isText = [](const Piece& piece) { return IsXmlText(piece.text); };
    return std::ranges::all_of(value.text, isText);
}

class Collector {
public:
    Collector(int bitness, PathForms& paths, std::vector<EmitNote>& notes)
        : bitness(bitness), paths(paths), notes(notes) {}

    void Add(const Capture& added) {
        capture = &added;
        NoteIssuesOf(added, notes);
        keys.clear();
        for (const RegSection& section : added.document.sections) {
            keys.insert(FoldedText(section.path));
        }
        const RegistryModel model = ModelOf(added.document);
        for (const RegObject& object : model.objects) {
            AddObject(object);
        }
        for (const std::size_t section : model.otherSections) {
            NoteSection(section, reasonAgainstOthers);
        }
        for (const RegEntryRef entry : model.otherEntries) {
            NoteEntry(entry, reasonAgainstOthers);
        }
    }

    std::vector<ObjectEntries> Objects() { return std::move(objects); }

private:
    const RegSection& SectionAt(std::size_t index) const { return capture->document.sections[index]; }

    EntryPlace PlaceAt(std::size_t index) const {
        const RegSection& section = SectionAt(index);
        return {capture->file, section.line, section.path, true, {}};
    }

    EntryPlace PlaceAt(RegEntryRef ref) const {
        const RegSection& section = SectionAt(ref.section);
        const RegEntry& entry = section.entries[ref.entry];
        return {capture->file, entry.line, section.path, false, entry.name};
    }

    // True for a key without values that others are in.
    bool IsContainer(const RegSection& section) const {
        const std::wstring below = FoldedText(section.path) + L'\\';
        const auto next = keys.lower_bound(below);
        return section.isCapturesOwn || (next != keys.end() && next->starts_with(below));
    }

    void NoteSection(std::size_t index, std::wstring_view reason) {
        const RegSection& section = SectionAt(index);
        if (section.isDeletion) {
            notes.push_back({PlaceAt(index), L"is a deletion"});
        } else if (section.entries.empty() && !IsContainer(section)) {
            notes.push_back({PlaceAt(index), std::wstring(reason)});
        }
    }

    void NoteEntry(RegEntryRef ref, std::wstring_view reason) {
        notes.push_back({PlaceAt(ref), std::wstring(reason)});
    }

    // Why nothing of an object is in the manifest; empty if its entries can be.
    std::wstring ReasonAgainst(const RegObject& object) const {
        const bool isOtherView = bitness == 64 && object.identity.scope.view == RegView::Wow6432;
        return isOtherView ? L"is in the 32-bit view, and the server is a 64-bit file"
                           : std::wstring(ReasonAgainstKind(object.identity.kind));
    }

    void AddObject(const RegObject& object) {
        if (const std::wstring reason = ReasonAgainst(object); !reason.empty()) {
            for (const std::size_t section : object.sections) {
                NoteSection(section, reason);
            }
            for (const RegEntryRef entry : object.entries) {
                NoteEntry(entry, reason);
            }
            return;
        }
        ObjectEntries& target = TargetOf(object);
        for (const std::size_t section : object.sections) {
            AddKey(section, target);
        }
        for (const RegEntryRef entry : object.entries) {
            AddEntry(entry, target);
        }
    }

    ObjectEntries& TargetOf(const RegObject& object) {
        const ObjectKind kind = object.identity.kind;
        const auto [known, isNew] = indices.try_emplace({kind, object.identity.id}, objects.size());
        if (isNew) {
            objects.emplace_back(kind, object.id);
        }
        return objects[known->second];
    }

    std::vector<std::wstring> NamesBelow(std::size_t section, const ObjectEntries& object) const {
        std::vector<std::wstring> names = PlaceOf(SectionAt(section).path).names;
        const std::size_t own = object.Kind() == ObjectKind::ProgId ? 1 : 2;
        names.erase(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(own));
        return names;
    }

    void AddKey(std::size_t index, ObjectEntries& target) {
        const RegSection& section = SectionAt(index);
        if (section.isDeletion) {
            notes.push_back({PlaceAt(index), L"is a deletion"});
        } else if (const std::wstring reason = ReasonAgainstKey(section.path); !reason.empty()) {
            NoteSection(index, reason);
        } else if (section.entries.empty() && !IsContainer(section)) {
            target.Add({NamesBelow(index, target), {}, std::nullopt, PlaceAt(index)}, notes);
        }
    }

    void AddEntry(RegEntryRef ref, ObjectEntries& target) {
        const RegEntry& entry = SectionAt(ref.section).entries[ref.entry];
        const EntryPlace place = PlaceAt(ref);
        std::variant<InstallValue, std::wstring> value = InstallValueOf(entry, place, paths);
        std::wstring reason = ReasonAgainstKey(place.key);
        if (const auto* const against = std::get_if<std::wstring>(&value)) {
            reason = *against;
        } else if (reason.empty() && !HasXmlTexts(std::get<InstallValue>(value))) {
            reason = L"has a character that no XML document can have";
        }
        if (!reason.empty()) {
            notes.push_back({place, reason});
            return;
        }
        target.Add(
            {NamesBelow(ref.section, target), entry.name, std::get<InstallValue>(std::move(value)), place},
            notes);
    }

    int bitness;
    PathForms& paths;
    std::vector<EmitNote>& notes;
    const Capture* capture = nullptr;
    std::set<std::wstring> keys; // of the capture, folded
    std::vector<ObjectEntries> objects;
    std::map<std::pair<ObjectKind, std::wstring>, std::size_t> indices;
};

} // namespace

std::vector<ObjectEntries> CollectObjects(std::span<const Capture> captures, int bitness, PathForms& paths,
                                          std::vector<EmitNote>& notes) {
    Collector collector(bitness, paths, notes);
    for (const Capture& capture : captures) {
        collector.Add(capture);
    }
    return collector.Objects();
}

} // namespace keyreap
