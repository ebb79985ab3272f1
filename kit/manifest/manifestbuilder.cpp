#include "kit/manifest/manifestbuilder.h"

#include "kit/capture/pathforms.h"
#include "kit/manifest/collectedobjects.h"
#include "kit/manifest/manifestparts.h"
#include "kit/manifest/progidowners.h"
#include "platform/core/text/compare.h"

#include <algorithm>
#include <utility>

namespace keyreap {

namespace {

std::vector<CapturedPath> PathsOf(const ManifestSettings& settings) {
    std::vector<CapturedPath> paths;
    for (std::size_t server = 0; server < settings.servers.size(); ++server) {
        const std::wstring& path = settings.servers[server].capturedPath;
        paths.push_back({path, true, {PieceKind::File, {}, server}});
        const std::wstring folder = path.substr(0, path.rfind(L'\\'));
        if (folder.find(L'\\') != std::wstring::npos) {
            paths.push_back({folder, false, {PieceKind::Directory, {}}});
        }
    }
    return paths;
}

class Builder {
public:
    Builder(const ManifestSettings& settings, std::vector<EmitNote>& notes)
        : settings(settings), notes(notes), paths(PathsOf(settings)) {}

    ComManifest Build(std::span<const Capture> captures) {
        objects = CollectObjects(captures, settings.bitness, paths, notes);
        manifest.assemblyName = settings.assemblyName;
        manifest.bitness = settings.bitness;
        for (const InstallServer& server : settings.servers) {
            manifest.files.push_back({server.fileName, {}, {}});
        }
        ForEach(ObjectKind::TypeLib, [this](ObjectEntries& object) { return AddLibrary(object); });
        AddClasses();
        ForEach(ObjectKind::ProgId, [this](ObjectEntries& object) { return AddProgId(object); });
        ForEach(ObjectKind::Interface, [this](ObjectEntries& object) { return AddProxy(object); });
        AddNotFound();
        std::ranges::stable_sort(
            notes, {}, [](const EmitNote& note) { return std::pair(note.place.file, note.place.line); });
        return std::move(manifest);
    }

private:
    // Adds each object of a kind, and notes for what the manifest doesn't say of it. `add` returns why it
    // says nothing, or an empty text.
    template <typename Add>
    void ForEach(ObjectKind kind, const Add& add) {
        for (ObjectEntries& object : objects) {
            if (object.Kind() == kind) {
                NoteRest(object, add(object));
            }
        }
    }

    void NoteRest(const ObjectEntries& object, const std::wstring& reason) {
        object.NoteRest(notes, [&](const ObjectEntries::Entry& entry) {
            return reason.empty() ? ReasonAgainstEntry(object.Kind(), entry) : reason;
        });
    }

    std::wstring AddLibrary(ObjectEntries& object) {
        std::variant<LibraryPart, std::wstring> part = LibraryPartOf(object, settings.bitness);
        if (const auto* const reason = std::get_if<std::wstring>(&part)) {
            return *reason;
        }
        const LibraryPart& library = std::get<LibraryPart>(part);
        manifest.files[library.server].libraries.push_back(library.part);
        libraries.emplace(FoldedText(object.Id()), library);
        return {};
    }

    void AddClasses() {
        ProgIdOwners owners(objects);
        ForEach(ObjectKind::Class, [&](ObjectEntries& object) { return AddClass(object, owners); });
    }

    std::wstring AddClass(ObjectEntries& object, ProgIdOwners& owners) {
        std::variant<ClassPart, std::wstring> part = ClassPartOf(object, libraries);
        if (const auto* const reason = std::get_if<std::wstring>(&part)) {
            return *reason;
        }
        ClassPart& one = std::get<ClassPart>(part);
        owners.AddTo(one.part, object);
        std::vector<ManifestClass>& classes = manifest.files[one.server].classes;
        for (const std::wstring& progId : one.part.progIds) {
            classOfProgId.emplace(FoldedText(progId), ClassPlace{one.server, classes.size()});
        }
        classes.push_back(std::move(one.part));
        return {};
    }

    std::wstring AddProgId(ObjectEntries& object) {
        const ManifestClass* const owner = ClassOf(object.Id());
        if (owner == nullptr) {
            return L"belongs to a ProgID whose class isn't in the manifest";
        }
        if (EqualFolded(object.Text(L"CLSID"), owner->clsid)) {
            object.Carry(L"CLSID");
        }
        const ManifestClass* const current = ClassOf(object.Text(L"CurVer"));
        if (current != nullptr && current->clsid == owner->clsid) {
            object.Carry(L"CurVer");
        }
        if (object.IsText({}) && object.Text({}) == owner->description) {
            object.Carry({});
        }
        return {};
    }

    struct ClassPlace {
        std::size_t file = 0; // in the manifest
        std::size_t index = 0;
    };

    // Null if no class in the manifest has it.
    const ManifestClass* ClassOf(const std::wstring& progId) const {
        const auto known = classOfProgId.find(FoldedText(progId));
        if (known == classOfProgId.end()) {
            return nullptr;
        }
        return &manifest.files[known->second.file].classes[known->second.index];
    }

    std::wstring AddProxy(ObjectEntries& object) {
        std::variant<ManifestProxy, std::wstring> proxy = ProxyOf(object, libraries);
        if (const auto* const reason = std::get_if<std::wstring>(&proxy)) {
            return *reason;
        }
        manifest.proxies.push_back(std::get<ManifestProxy>(std::move(proxy)));
        return {};
    }

    void AddNotFound() {
        const std::vector<std::wstring> missing = paths.NotFound();
        const EntryPlace nowhere;
        for (const InstallServer& server : settings.servers) {
            if (std::ranges::find(missing, server.capturedPath) != missing.end()) {
                notes.push_back({nowhere, L"no entry names " + server.capturedPath});
            }
        }
    }

    const ManifestSettings& settings;
    std::vector<EmitNote>& notes;
    PathForms paths;
    std::vector<ObjectEntries> objects;
    LibraryParts libraries;
    std::map<std::wstring, ClassPlace> classOfProgId; // by the folded ProgID
    ComManifest manifest;
};

} // namespace

ComManifest ManifestOf(std::span<const Capture> captures, const ManifestSettings& settings,
                       std::vector<EmitNote>& notes) {
    return Builder(settings, notes).Build(captures);
}

} // namespace keyreap
