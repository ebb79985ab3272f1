#include "kit/emit/installbuilder.h"

#include "kit/capture/libraryentries.h"
#include "kit/capture/serverpaths.h"
#include "kit/emit/captureissues.h"
#include "kit/emit/componentnames.h"
#include "kit/emit/entrydata.h"
#include "kit/emit/installplace.h"
#include "kit/emit/objectowners.h"
#include "kit/emit/stableguid.h"
#include "platform/core/text/compare.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <tuple>

namespace keyreap {

namespace {

std::vector<std::wstring> CapturedPathsOf(const InstallSettings& settings) {
    std::vector<std::wstring> paths;
    std::ranges::transform(settings.servers, std::back_inserter(paths), &InstallServer::capturedPath);
    return paths;
}

std::vector<CapturedPath> PathsOf(const InstallSettings& settings) {
    std::vector<CapturedPath> paths = settings.replacements;
    std::ranges::move(FilesOfServers(CapturedPathsOf(settings)), std::back_inserter(paths));
    return paths;
}

// Unlike the others, a folder of a server need not be in an entry.
std::vector<CapturedPath> AllPathsOf(const InstallSettings& settings) {
    std::vector<CapturedPath> paths = PathsOf(settings);
    std::ranges::move(FoldersOfServers(CapturedPathsOf(settings), settings.directory),
                      std::back_inserter(paths));
    return paths;
}

class Builder {
public:
    Builder(const InstallSettings& settings, std::vector<EmitNote>& notes)
        : settings(settings), notes(notes), paths(AllPathsOf(settings)) {}

    void Add(const Capture& capture) {
        NoteIssuesOf(capture, notes);
        const ObjectOwners owners(capture.document);
        std::vector<Part> parts;
        for (std::size_t section = 0; section < capture.document.sections.size(); ++section) {
            AddSection(capture, section, owners, parts);
        }
        Distribute(parts);
    }

    InstallData Data() {
        FinishKeys();
        AddNotFound();
        InstallData data{BareGuidText(settings.product),
                         settings.scope,
                         settings.bitness,
                         settings.directory,
                         {},
                         settings.servers,
                         {}};
        data.components = std::move(components);
        NameComponents(data, settings.product);
        return data;
    }

private:
    // A key or a value, and the object that it belongs to.
    struct Part {
        InstallPlace place;
        EntryPlace origin;
        ObjectOwner owner;
        std::optional<InstallValue> value;
    };

    using KeyName = std::pair<InstallRoot, std::wstring>; // folded

    void Note(const EntryPlace& place, std::wstring reason) { notes.push_back({place, std::move(reason)}); }

    void AddSection(const Capture& capture, std::size_t index, const ObjectOwners& owners,
                    std::vector<Part>& parts) {
        const RegSection& section = capture.document.sections[index];
        EntryPlace origin{capture.file, section.line, section.path, true, {}};
        if (section.isDeletion) {
            Note(origin, L"is a deletion");
            return;
        }
        if (const std::wstring reason = ReasonAgainstKey(section.path); !reason.empty()) {
            NoteAll(section, origin, reason);
            return;
        }
        std::variant<InstallPlace, std::wstring> place = InstallPlaceOf(section.path, settings.scope);
        const auto* const reason = std::get_if<std::wstring>(&place);
        if (section.isCapturesOwn ||
            (section.entries.empty() && !reason && IsContainer(std::get<0>(place)))) {
            return;
        }
        if (reason || std::get<0>(place).path.empty()) {
            NoteAll(section, origin, reason ? *reason : L"is in a root itself");
            return;
        }
        parts.push_back({std::get<0>(place), origin, OwnerOf(owners.OfSection(index), origin), std::nullopt});
        for (std::size_t entry = 0; entry < section.entries.size(); ++entry) {
            AddEntry(section.entries[entry], parts, origin, owners.OfEntry({index, entry}));
        }
    }

    // A key that every system has.
    static bool IsContainer(const InstallPlace& place) {
        return place.path.empty() || EqualFolded(place.path, L"Software") ||
               EqualFolded(place.path, L"Software\\Classes");
    }

    // One for each value, so that none is missing in the list.
    void NoteAll(const RegSection& section, const EntryPlace& origin, const std::wstring& reason) {
        if (section.entries.empty()) {
            Note(origin, reason);
        }
        for (const RegEntry& entry : section.entries) {
            Note({origin.file, entry.line, origin.key, false, entry.name}, reason);
        }
    }

    void AddEntry(const RegEntry& entry, std::vector<Part>& parts, const EntryPlace& key,
                  const ObjectOwner& owner) {
        const InstallPlace place = parts.back().place;
        const EntryPlace origin{key.file, entry.line, key.key, false, entry.name};
        std::variant<InstallValue, std::wstring> value = InstallValueOf(entry, origin, paths);
        if (const auto* const reason = std::get_if<std::wstring>(&value)) {
            Note(origin, *reason);
            return;
        }
        InstallValue& carried = std::get<InstallValue>(value);
        if (std::wstring left = PathLeftIn(carried, paths); !left.empty()) {
            Note(origin, std::move(left));
        }
        if (IsNew(place, entry, carried)) {
            parts.push_back({place, origin, OwnerOf(owner, origin), std::move(carried)});
        }
    }

    static ObjectOwner OwnerOf(ObjectOwner owner, const EntryPlace& origin) {
        owner.isShared = owner.isShared || !LibraryThatWrites(origin.key, origin.value).empty();
        return owner;
    }

    bool IsNew(const InstallPlace& place, const RegEntry& entry, const InstallValue& value) {
        const auto name = std::make_tuple(place.root, FoldedText(place.path), FoldedText(entry.name));
        const auto [known, isNew] = seen.try_emplace(name, value);
        const InstallValue& first = known->second;
        if (!isNew && (first.type != value.type || first.data != value.data)) {
            Note(value.place,
                 L"has other data in line " + std::to_wstring(first.place.line) + L" of " + first.place.file);
        }
        return isNew;
    }

    // An object belongs to the server that its entries name first; what names none to that of its capture.
    void Distribute(std::vector<Part>& parts) {
        std::map<std::size_t, std::size_t> serverOfObject;
        std::optional<std::size_t> first;
        for (const Part& part : parts) {
            if (const std::optional<std::size_t> server = ServerIn(part)) {
                serverOfObject.try_emplace(part.owner.object, *server);
                first = first ? first : server;
            }
        }
        for (Part& part : parts) {
            const auto known = serverOfObject.find(part.owner.object);
            const bool hasObject = part.owner.object != ObjectOwner::none;
            const std::size_t server = hasObject && known != serverOfObject.end()
                                           ? known->second
                                           : ServerIn(part).value_or(first.value_or(0));
            AddPart(part, ComponentOf(server, part));
        }
    }

    static std::optional<std::size_t> ServerIn(const Part& part) {
        std::optional<std::size_t> server;
        const auto search = [&server](const PieceText& pieces) {
            const auto file = std::ranges::find(pieces, PieceKind::File, &Piece::kind);
            server = !server && file != pieces.end() ? std::optional(file->server) : server;
        };
        if (part.value) {
            search(part.value->name);
            search(part.value->text);
            std::ranges::for_each(part.value->list, search);
        }
        return server;
    }

    std::size_t ComponentOf(std::size_t server, const Part& part) {
        const bool isPerUser =
            settings.scope == InstallScope::Machine && part.place.root == InstallRoot::CurrentUser;
        const auto fits = [&](const InstallComponent& other) {
            return other.server == server && other.isKept == part.owner.isShared &&
                   other.isPerUser == isPerUser;
        };
        const auto known = std::ranges::find_if(components, fits);
        if (known == components.end()) {
            components.push_back({server, part.owner.isShared, isPerUser, {}, {}, {}});
            return components.size() - 1;
        }
        return static_cast<std::size_t>(known - components.begin());
    }

    void AddPart(Part& part, std::size_t component) {
        std::vector<InstallKey>& keys = components[component].keys;
        const KeyName name(part.place.root, FoldedText(part.place.path));
        const auto [known, isNew] = keyIndex.try_emplace({component, name}, keys.size());
        if (isNew) {
            EntryPlace origin = part.origin;
            origin.isKey = true;
            keys.push_back({part.place.root, part.place.path, {}, false, std::move(origin)});
        }
        allKeys.insert(name);
        if (part.value) {
            keysWithValues.insert(name);
            if (part.owner.isOwn) {
                keysOfObjects.insert(name);
            }
            keys[known->second].values.push_back(std::move(*part.value));
        }
    }

    // Drops the keys that others create.
    void FinishKeys() {
        for (InstallComponent& component : components) {
            const auto isCreated = [this](const InstallKey& key) {
                const KeyName name(key.root, FoldedText(key.path));
                const auto next = allKeys.lower_bound({name.first, name.second + L'\\'});
                const bool hasKeys = next != allKeys.end() && next->first == name.first &&
                                     next->second.starts_with(name.second + L'\\');
                return key.values.empty() && (hasKeys || keysWithValues.contains(name));
            };
            std::erase_if(component.keys, isCreated);
            for (InstallKey& key : component.keys) {
                if (std::wstring reason = DoubtAboutKey(key.place.key); !reason.empty()) {
                    Note(key.place, std::move(reason));
                }
                key.isOwn = IsInObject(key);
            }
        }
        std::erase_if(components, [](const InstallComponent& component) { return component.keys.empty(); });
    }

    bool IsInObject(const InstallKey& key) const {
        std::wstring path = FoldedText(key.path);
        for (std::size_t end = path.rfind(L'\\'); end != std::wstring::npos; end = path.rfind(L'\\')) {
            path.resize(end);
            if (keysOfObjects.contains({key.root, path})) {
                return true;
            }
        }
        return false;
    }

    void AddNotFound() {
        const std::vector<std::wstring> missing = paths.NotFound();
        for (const CapturedPath& path : PathsOf(settings)) {
            if (std::ranges::find(missing, path.path) != missing.end()) {
                notes.push_back({{}, L"no entry names " + path.path});
            }
        }
    }

    const InstallSettings& settings;
    std::vector<EmitNote>& notes;
    PathForms paths;
    std::vector<InstallComponent> components;
    std::map<std::pair<std::size_t, KeyName>, std::size_t> keyIndex;
    std::set<KeyName> allKeys;
    std::set<KeyName> keysWithValues;
    std::set<KeyName> keysOfObjects; // with values of what is the server's alone
    std::map<std::tuple<InstallRoot, std::wstring, std::wstring>, InstallValue> seen;
};

} // namespace

InstallData InstallDataOf(std::span<const Capture> captures, const InstallSettings& settings,
                          std::vector<EmitNote>& notes) {
    Builder builder(settings, notes);
    for (const Capture& capture : captures) {
        builder.Add(capture);
    }
    return builder.Data();
}

} // namespace keyreap
