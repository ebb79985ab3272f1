#include "kit/emit/modeljson.h"

#include "platform/core/text/utf8.h"
#include "regmodel/registrymodel.h"

#include <nlohmann/json.hpp>

#include <array>

namespace keyreap {

namespace {

using Json = nlohmann::ordered_json;
using Texts = std::vector<std::wstring>;
using Pairs = std::vector<std::pair<std::wstring, std::wstring>>;

// A text that the registry doesn't have is left out.
void Put(Json& json, const char* name, const std::wstring& text) {
    if (!text.empty()) {
        json[name] = ReadableUtf8(text);
    }
}

void Put(Json& json, const char* name, const Texts& texts) {
    Json list = Json::array();
    for (const std::wstring& text : texts) {
        list.push_back(ReadableUtf8(text));
    }
    if (!texts.empty()) {
        json[name] = list;
    }
}

void Put(Json& json, const char* name, const std::optional<std::uint32_t>& number) {
    if (number) {
        json[name] = *number;
    }
}

void Put(Json& json, const char* name, const Pairs& pairs, const char* first, const char* second) {
    Json list = Json::array();
    for (const auto& [left, right] : pairs) {
        list.push_back({{first, ReadableUtf8(left)}, {second, ReadableUtf8(right)}});
    }
    if (!pairs.empty()) {
        json[name] = list;
    }
}

void Put(Json& json, const ClassFacts& facts) {
    Put(json, "name", facts.name);
    Json servers = Json::array();
    for (const ServerFacts& server : facts.servers) {
        Json one = {{"kind", ReadableUtf8(server.kind)}};
        Put(one, "path", server.path);
        Put(one, "threadingModel", server.threadingModel);
        servers.push_back(one);
    }
    json["servers"] = servers;
    Put(json, "progId", facts.progId);
    Put(json, "versionIndependentProgId", facts.versionIndependentProgId);
    Put(json, "typeLib", facts.typeLib);
    Put(json, "version", facts.version);
    Put(json, "appId", facts.appId);
    Put(json, "treatAs", facts.treatAs);
    Put(json, "implementedCategories", facts.implementedCategories);
    Put(json, "requiredCategories", facts.requiredCategories);
    Put(json, "miscStatus", facts.miscStatus);
    Put(json, "miscStatusOfAspects", facts.miscStatusOfAspects, "aspect", "status");
    Put(json, "marks", facts.marks);
}

void Put(Json& json, const InterfaceFacts& facts) {
    Put(json, "name", facts.name);
    Put(json, "proxyStubClsid32", facts.proxyStubClsid32);
    Put(json, "typeLib", facts.typeLib);
    Put(json, "typeLibVersion", facts.typeLibVersion);
    Put(json, "numMethods", facts.numMethods);
    Put(json, "baseInterface", facts.baseInterface);
}

void Put(Json& json, const TypeLibFacts& facts) {
    Json versions = Json::array();
    for (const TypeLibVersion& version : facts.versions) {
        Json one = {{"version", ReadableUtf8(version.version)}};
        Put(one, "name", version.name);
        Put(one, "flags", version.flags);
        Put(one, "helpDir", version.helpDir);
        Json files = Json::array();
        for (const TypeLibFile& file : version.files) {
            files.push_back({{"language", ReadableUtf8(file.language)},
                             {"platform", ReadableUtf8(file.platform)},
                             {"path", ReadableUtf8(file.path)}});
        }
        one["files"] = files;
        versions.push_back(one);
    }
    json["versions"] = versions;
}

void Put(Json& json, const ProgIdFacts& facts) {
    Put(json, "name", facts.name);
    Put(json, "clsid", facts.clsid);
    Put(json, "currentVersion", facts.currentVersion);
    Put(json, "verbs", facts.verbs, "verb", "command");
}

void Put(Json& json, const AppIdFacts& facts) {
    Put(json, "name", facts.name);
    Put(json, "appId", facts.appId);
    Put(json, "localService", facts.localService);
    Put(json, "runAs", facts.runAs);
    if (facts.dllSurrogate) {
        json["dllSurrogate"] = ReadableUtf8(*facts.dllSurrogate);
    }
}

void Put(Json& json, const CategoryFacts& facts) {
    Put(json, "descriptions", facts.descriptions, "language", "text");
}

void Put(Json& json, const ExtensionFacts& facts) {
    Put(json, "progId", facts.progId);
    Put(json, "contentType", facts.contentType);
    Put(json, "perceivedType", facts.perceivedType);
    Put(json, "persistentHandler", facts.persistentHandler);
}

void Put(Json& json, const ShellExtensionFacts& facts) {
    Put(json, "target", facts.target);
    Put(json, "handler", facts.handler);
    Put(json, "name", facts.name);
    Put(json, "clsid", facts.clsid);
}

void Put(Json& json, const ServiceFacts& facts) {
    Put(json, "displayName", facts.displayName);
    Put(json, "imagePath", facts.imagePath);
    Put(json, "serviceDll", facts.serviceDll);
    Put(json, "account", facts.account);
    Put(json, "type", facts.type);
    Put(json, "start", facts.start);
}

const char* NameOf(ObjectKind kind) {
    constexpr std::array<const char*, 9> names = {"class",     "interface",      "typeLib",
                                                  "progId",    "appId",          "category",
                                                  "extension", "shellExtension", "service"};
    return names[static_cast<std::size_t>(kind)];
}

Json ObjectJson(const RegObject& object, const RegDocument& document) {
    Json json = {{"kind", NameOf(object.identity.kind)}, {"id", ReadableUtf8(object.id)}};
    json["is32BitView"] = object.identity.scope.view == RegView::Wow6432;
    std::visit([&json](const auto& facts) { Put(json["facts"] = Json::object(), facts); }, object.facts);
    Texts keys;
    for (const std::size_t section : object.sections) {
        keys.push_back(document.sections[section].path);
    }
    Put(json, "keys", keys);
    return json;
}

} // namespace

void AppendObjects(Json& list, const RegDocument& document) {
    const RegistryModel model = ModelOf(document);
    for (const RegObject& object : model.objects) {
        list.push_back(ObjectJson(object, document));
    }
}

} // namespace keyreap
