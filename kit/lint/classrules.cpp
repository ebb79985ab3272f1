#include "kit/lint/ruletable.h"
#include "platform/core/text/compare.h"

#include <algorithm>
#include <array>

// Rules about classes, interfaces, ProgIDs and type libraries that refer to one another. What a capture
// refers to may be in another capture of the same product, and the system's own objects are on every machine.
namespace keyreap {

namespace {

// Others than these make a class that can't be created. "Single" isn't documented, but is what no model
// means.
constexpr std::array<std::wstring_view, 5> threadingModels = {L"Apartment", L"Both", L"Free", L"Neutral",
                                                              L"Single"};

bool IsInProcess(const ServerFacts& server) {
    return EqualFolded(server.kind, L"InprocServer32");
}

bool IsMissing(const LintInput& input, ObjectKind kind, const std::wstring& id) {
    return !id.empty() && !IsOfSystem(id) && !input.IsThere(kind, id);
}

// An AppID that says how the objects are made, or may say so where it is registered.
bool MayBeServedByAppId(const LintInput& input, const ClassFacts& facts) {
    if (facts.appId.empty()) {
        return false;
    }
    const RegObject* const object = input.Find(ObjectKind::AppId, facts.appId);
    return object == nullptr || !std::get<AppIdFacts>(object->facts).localService.empty();
}

bool HasServer(const LintInput& input, const ClassFacts& facts) {
    const auto hasPath = [](const ServerFacts& server) { return !server.path.empty(); };
    return std::ranges::any_of(facts.servers, hasPath) || !facts.treatAs.empty() ||
           MayBeServedByAppId(input, facts);
}

// Servers also write below classes of others, such as the instances of a category of filters.
bool IsRegisteredHere(const ClassFacts& facts) {
    return !facts.servers.empty() || !facts.name.empty() || !facts.progId.empty() || !facts.typeLib.empty();
}

template <typename Visit>
void ForEachInProcessServer(const LintInput& input, const Visit& visit) {
    ForEachObject<ClassFacts>(input, [&](const RegObject&, const ClassFacts& facts, const EntryPlace& place) {
        for (const ServerFacts& server : facts.servers) {
            if (IsInProcess(server) && !server.path.empty()) {
                visit(server, KeyIn(place, server.kind));
            }
        }
    });
}

std::wstring NotThere(std::wstring_view what, const std::wstring& id) {
    return L"names the " + std::wstring(what) + L' ' + id + L", which isn't in the capture";
}

bool HasVersion(const RegObject& library, const std::wstring& version) {
    const auto& versions = std::get<TypeLibFacts>(library.facts).versions;
    return std::ranges::any_of(versions,
                               [&](const TypeLibVersion& one) { return EqualFolded(one.version, version); });
}

} // namespace

void FindClassesWithoutServer(const LintInput& input, Findings& findings) {
    ForEachObject<ClassFacts>(input, [&](const RegObject&, const ClassFacts& facts, const EntryPlace& place) {
        if (IsRegisteredHere(facts) && !HasServer(input, facts)) {
            findings.push_back({place, L"is a class without a server"});
        }
    });
}

void FindMissingThreadingModels(const LintInput& input, Findings& findings) {
    ForEachInProcessServer(input, [&](const ServerFacts& server, const EntryPlace& place) {
        if (server.threadingModel.empty()) {
            findings.push_back({place, L"has no ThreadingModel"});
        }
    });
}

void FindUnknownThreadingModels(const LintInput& input, Findings& findings) {
    ForEachInProcessServer(input, [&](const ServerFacts& server, const EntryPlace& place) {
        const auto isSame = [&](std::wstring_view model) {
            return EqualFolded(model, server.threadingModel);
        };
        if (!server.threadingModel.empty() && std::ranges::none_of(threadingModels, isSame)) {
            findings.push_back({ValueIn(place, L"ThreadingModel"),
                                L"is '" + server.threadingModel + L"', which COM doesn't know"});
        }
    });
}

void FindMissingProgIds(const LintInput& input, Findings& findings) {
    const auto check = [&](const EntryPlace& place, const std::wstring& progId) {
        if (IsMissing(input, ObjectKind::ProgId, progId)) {
            findings.push_back({place, NotThere(L"ProgID", progId)});
        }
    };
    ForEachObject<ClassFacts>(input, [&](const RegObject&, const ClassFacts& facts, const EntryPlace& place) {
        check(KeyIn(place, L"ProgID"), facts.progId);
        check(KeyIn(place, L"VersionIndependentProgID"), facts.versionIndependentProgId);
    });
    ForEachObject<ProgIdFacts>(input,
                               [&](const RegObject&, const ProgIdFacts& facts, const EntryPlace& place) {
                                   check(KeyIn(place, L"CurVer"), facts.currentVersion);
                               });
}

void FindProgIdsWithoutClass(const LintInput& input, Findings& findings) {
    ForEachObject<ProgIdFacts>(
        input, [&](const RegObject&, const ProgIdFacts& facts, const EntryPlace& place) {
            if (IsMissing(input, ObjectKind::Class, facts.clsid)) {
                findings.push_back({KeyIn(place, L"CLSID"), NotThere(L"class", facts.clsid)});
            }
        });
    ForEachObject<ClassFacts>(input, [&](const RegObject& object, const ClassFacts& facts,
                                         const EntryPlace& place) {
        const RegObject* const progId = input.Find(ObjectKind::ProgId, facts.progId);
        const auto* const found = progId == nullptr ? nullptr : &std::get<ProgIdFacts>(progId->facts);
        if (found != nullptr && found->clsid.empty() && found->currentVersion.empty()) {
            findings.push_back({KeyIn(place, L"ProgID"), L"names the ProgID " + facts.progId +
                                                             L", which doesn't name the class " + object.id});
        }
    });
}

void FindMissingTypeLibs(const LintInput& input, Findings& findings) {
    ForEachObject<ClassFacts>(input, [&](const RegObject&, const ClassFacts& facts, const EntryPlace& place) {
        if (IsMissing(input, ObjectKind::TypeLib, facts.typeLib)) {
            findings.push_back({KeyIn(place, L"TypeLib"), NotThere(L"type library", facts.typeLib)});
        }
    });
    ForEachObject<InterfaceFacts>(
        input, [&](const RegObject&, const InterfaceFacts& facts, const EntryPlace& place) {
            const RegObject* const library = input.Find(ObjectKind::TypeLib, facts.typeLib);
            if (IsMissing(input, ObjectKind::TypeLib, facts.typeLib)) {
                findings.push_back({KeyIn(place, L"TypeLib"), NotThere(L"type library", facts.typeLib)});
            } else if (library != nullptr && !facts.typeLibVersion.empty() &&
                       !HasVersion(*library, facts.typeLibVersion)) {
                findings.push_back({ValueIn(KeyIn(place, L"TypeLib"), L"Version"),
                                    L"names the version " + facts.typeLibVersion + L" of the type library " +
                                        facts.typeLib + L", which isn't in the capture"});
            }
        });
}

void FindInterfacesWithoutProxy(const LintInput& input, Findings& findings) {
    ForEachObject<InterfaceFacts>(
        input, [&](const RegObject& object, const InterfaceFacts& facts, const EntryPlace& place) {
            if (facts.proxyStubClsid32.empty() && !IsOfSystem(object.identity.id)) {
                findings.push_back({place, L"is an interface without ProxyStubClsid32"});
            } else if (IsMissing(input, ObjectKind::Class, facts.proxyStubClsid32)) {
                findings.push_back(
                    {KeyIn(place, L"ProxyStubClsid32"), NotThere(L"class", facts.proxyStubClsid32)});
            }
        });
}

} // namespace keyreap
