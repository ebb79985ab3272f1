// What a capture's entries make up: whatever they are, an object's facts are what a plain import of the file
// would leave in the object's keys, and each object is found by its identity.
#include "platform/core/text/compare.h"
#include "regmodel/objectplace.h"
#include "regmodel/registrymodel.h"
#include "regmodel/regtextreader.h"
#include "tests/native/capturefile.h"

#include <map>
#include <utility>

using namespace keyreap;

namespace {

// The texts of an import, by scope and folded path of the key and by folded name. It shares no code with the
// model's tree.
class PlainImport {
public:
    explicit PlainImport(const RegDocument& document) {
        for (const RegSection& section : document.sections) {
            const RegPlace place = PlaceOf(section.path);
            if (section.isDeletion) {
                Remove(place);
                continue;
            }
            auto& values = keys[KeyOf(place, place.names.size())];
            for (const RegEntry& entry : section.entries) {
                values[FoldedText(entry.name)] = EntryText(entry).value_or(L"");
            }
        }
    }

    std::wstring Text(const RegPlace& place, std::size_t count, std::wstring_view below = {},
                      std::wstring_view name = {}) const {
        Key key = KeyOf(place, count);
        if (!below.empty()) {
            key.second += L'\\' + FoldedText(std::wstring(below));
        }
        const auto values = keys.find(key);
        if (values == keys.end()) {
            return {};
        }
        const auto found = values->second.find(FoldedText(std::wstring(name)));
        return found == values->second.end() ? std::wstring() : found->second;
    }

private:
    using Key = std::pair<RegScope, std::wstring>;

    static Key KeyOf(const RegPlace& place, std::size_t count) {
        Key key = {place.scope, {}};
        for (std::size_t i = 0; i < count && i < place.names.size(); ++i) {
            key.second += L'\\' + FoldedText(place.names[i]);
        }
        return key;
    }

    void Remove(const RegPlace& place) {
        const Key removed = KeyOf(place, place.names.size());
        std::erase_if(keys, [&](const auto& key) {
            return key.first.first == removed.first &&
                   (key.first.second + L'\\').starts_with(removed.second + L'\\');
        });
    }

    std::map<Key, std::map<std::wstring, std::wstring>> keys;
};

class FactsCheck {
public:
    FactsCheck(const PlainImport& import, const RegPlace& place, std::size_t count)
        : import(import), place(place), count(count) {}

    void operator()(const ClassFacts& facts) const {
        Same(facts.name);
        Same(facts.progId, L"ProgID");
        Same(facts.versionIndependentProgId, L"VersionIndependentProgID");
        Same(facts.typeLib, L"TypeLib");
        Same(facts.treatAs, L"TreatAs");
        Same(facts.appId, {}, L"AppID");
        for (const ServerFacts& server : facts.servers) {
            Same(server.path, server.kind);
            Same(server.threadingModel, server.kind, L"ThreadingModel");
        }
        for (const auto& [aspect, status] : facts.miscStatusOfAspects) {
            Same(status, L"MiscStatus\\" + aspect);
        }
    }

    void operator()(const InterfaceFacts& facts) const {
        Same(facts.name);
        Same(facts.proxyStubClsid32, L"ProxyStubClsid32");
        Same(facts.typeLib, L"TypeLib");
        Same(facts.typeLibVersion, L"TypeLib", L"Version");
        Same(facts.numMethods, L"NumMethods");
    }

    void operator()(const TypeLibFacts& facts) const {
        for (const TypeLibVersion& version : facts.versions) {
            Same(version.name, version.version);
            Same(version.flags, version.version + L"\\FLAGS");
            for (const TypeLibFile& file : version.files) {
                Same(file.path, version.version + L'\\' + file.language + L'\\' + file.platform);
            }
        }
    }

    void operator()(const ProgIdFacts& facts) const {
        Same(facts.name);
        Same(facts.clsid, L"CLSID");
        Same(facts.currentVersion, L"CurVer");
        for (const auto& [verb, command] : facts.verbs) {
            Same(command, L"shell\\" + verb + L"\\command");
        }
    }

    void operator()(const AppIdFacts& facts) const {
        Same(facts.name);
        Same(facts.appId, {}, L"AppID");
        Same(facts.dllSurrogate.value_or(L""), {}, L"DllSurrogate");
    }

    void operator()(const ExtensionFacts& facts) const { Same(facts.progId); }

    void operator()(const ServiceFacts& facts) const { Same(facts.imagePath, {}, L"ImagePath"); }

    // Their texts are names.
    void operator()(const CategoryFacts&) const {}
    void operator()(const ShellExtensionFacts&) const {}

private:
    void Same(const std::wstring& text, std::wstring_view below = {}, std::wstring_view name = {}) const {
        fuzz::Require(text == import.Text(place, count, below, name));
    }

    const PlainImport& import;
    const RegPlace& place;
    std::size_t count;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const auto result = ReadRegDocument(fuzz::CaptureFile(input));
    const auto* const document = std::get_if<RegDocument>(&result);
    if (document == nullptr) {
        return 0; // raw line breaks
    }
    const PlainImport import(*document);
    const RegistryModel model = ModelOf(*document);
    for (const RegObject& object : model.objects) {
        fuzz::Require(FindObject(model, object.identity) == &object);
        fuzz::Require(object.identity.id == FoldedText(object.id));
        if (!object.sections.empty()) {
            const RegPlace place = PlaceOf(document->sections[object.sections.front()].path);
            fuzz::Require(place.scope == object.identity.scope);
            const auto key = ObjectAt(place, [](const RegPlace&) { return true; });
            fuzz::Require(key && key->kind == object.identity.kind);
            std::visit(FactsCheck(import, place, key->last), object.facts);
        }
    }
    return 0;
}
