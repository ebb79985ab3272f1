#include "kit/show/objecttexts.h"

#include <type_traits>

namespace keyreap {

namespace {

using Target = std::optional<ObjectKind>;

class Texts {
public:
    // What the registry doesn't have is left out.
    void Add(std::wstring label, const std::wstring& text, Target target = std::nullopt) {
        if (!text.empty()) {
            texts.push_back({std::move(label), text, target});
        }
    }

    void Add(std::wstring label, const std::vector<std::wstring>& list, Target target = std::nullopt) {
        for (const std::wstring& text : list) {
            Add(label, text, target);
        }
    }

    void Add(std::wstring label, const std::optional<std::uint32_t>& number) {
        if (number) {
            Add(std::move(label), std::to_wstring(*number));
        }
    }

    std::vector<ObjectText> Take() { return std::move(texts); }

private:
    std::vector<ObjectText> texts;
};

void Add(Texts& texts, const ClassFacts& facts) {
    for (const ServerFacts& server : facts.servers) {
        texts.Add(server.kind, server.path.empty() ? L"(nothing)" : server.path);
        texts.Add(L"Threading model", server.threadingModel);
    }
    texts.Add(L"ProgID", facts.progId, ObjectKind::ProgId);
    texts.Add(L"Version-independent ProgID", facts.versionIndependentProgId, ObjectKind::ProgId);
    texts.Add(L"Version", facts.version);
    texts.Add(L"Type library", facts.typeLib, ObjectKind::TypeLib);
    texts.Add(L"AppID", facts.appId, ObjectKind::AppId);
    texts.Add(L"Treated as", facts.treatAs, ObjectKind::Class);
    texts.Add(L"Implements", facts.implementedCategories, ObjectKind::Category);
    texts.Add(L"Requires", facts.requiredCategories, ObjectKind::Category);
    texts.Add(L"Status bits", facts.miscStatus);
    for (const auto& [aspect, status] : facts.miscStatusOfAspects) {
        texts.Add(L"Status bits, aspect " + aspect, status);
    }
    texts.Add(L"Marked as", facts.marks);
}

void Add(Texts& texts, const InterfaceFacts& facts) {
    texts.Add(L"Type library", facts.typeLib, ObjectKind::TypeLib);
    texts.Add(L"Version of the library", facts.typeLibVersion);
    texts.Add(L"Proxy and stub", facts.proxyStubClsid32, ObjectKind::Class);
    texts.Add(L"Methods", facts.numMethods);
    texts.Add(L"Base interface", facts.baseInterface, ObjectKind::Interface);
}

void Add(Texts& texts, const TypeLibFacts& facts) {
    for (const TypeLibVersion& version : facts.versions) {
        texts.Add(L"Version",
                  version.name.empty() ? version.version : version.version + L", " + version.name);
        for (const TypeLibFile& file : version.files) {
            texts.Add(L"File for " + file.platform + L", language " + file.language, file.path);
        }
        texts.Add(L"Flags", version.flags);
        texts.Add(L"Folder of help files", version.helpDir);
    }
}

void Add(Texts& texts, const ProgIdFacts& facts) {
    texts.Add(L"Class", facts.clsid, ObjectKind::Class);
    texts.Add(L"Current version", facts.currentVersion, ObjectKind::ProgId);
    for (const auto& [verb, command] : facts.verbs) {
        texts.Add(L"Verb " + verb, command);
    }
}

void Add(Texts& texts, const AppIdFacts& facts) {
    texts.Add(L"AppID", facts.appId, ObjectKind::AppId);
    texts.Add(L"Service", facts.localService, ObjectKind::Service);
    texts.Add(L"Runs as", facts.runAs);
    if (facts.dllSurrogate) {
        texts.Add(L"Surrogate", facts.dllSurrogate->empty() ? L"that of the system" : *facts.dllSurrogate);
    }
}

void Add(Texts& texts, const CategoryFacts& facts) {
    for (const auto& [language, text] : facts.descriptions) {
        texts.Add(L"Description, language " + language, text);
    }
}

void Add(Texts& texts, const ExtensionFacts& facts) {
    texts.Add(L"ProgID", facts.progId, ObjectKind::ProgId);
    texts.Add(L"Content type", facts.contentType);
    texts.Add(L"Perceived type", facts.perceivedType);
    texts.Add(L"Persistent handler", facts.persistentHandler, ObjectKind::Class);
}

void Add(Texts& texts, const ShellExtensionFacts& facts) {
    texts.Add(L"Class", facts.clsid, ObjectKind::Class);
    texts.Add(L"Extends", facts.target);
    texts.Add(L"Handler", facts.handler);
}

void Add(Texts& texts, const ServiceFacts& facts) {
    texts.Add(L"Program", facts.imagePath);
    texts.Add(L"DLL", facts.serviceDll);
    texts.Add(L"Account", facts.account);
    texts.Add(L"Type", facts.type);
    texts.Add(L"Start", facts.start);
}

std::wstring NameOfOne(const TypeLibFacts& facts) {
    return facts.versions.empty() ? L"" : facts.versions.back().name;
}

std::wstring NameOfOne(const CategoryFacts& facts) {
    return facts.descriptions.empty() ? L"" : facts.descriptions.front().second;
}

std::wstring NameOfOne(const ExtensionFacts&) {
    return L"";
}

std::wstring NameOfOne(const ServiceFacts& facts) {
    return facts.displayName;
}

template <typename Facts>
std::wstring NameOfOne(const Facts& facts) {
    return facts.name;
}

} // namespace

std::wstring NameOf(const ObjectFacts& facts) {
    return std::visit([](const auto& one) { return NameOfOne(one); }, facts);
}

std::vector<ObjectText> TextsOf(const ObjectFacts& facts) {
    Texts texts;
    std::visit([&texts](const auto& one) { Add(texts, one); }, facts);
    return texts.Take();
}

std::wstring ScopeText(const RegScope& scope) {
    std::wstring text;
    if (scope.hive == RegHive::CurrentUser) {
        text = L"of the user";
    } else if (scope.hive == RegHive::Users) {
        text = L"of the user " + scope.user;
    }
    if (scope.view == RegView::Wow6432) {
        text += text.empty() ? L"32-bit view" : L", 32-bit view";
    }
    return text;
}

} // namespace keyreap
