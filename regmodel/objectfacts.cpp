#include "regmodel/objectfacts.h"

#include <utility>

namespace keyreap {

namespace {

InterfaceFacts InterfaceFactsOf(const RegTree& tree, RegTree::Key key) {
    const RegTree::Key typeLib = tree.Child(key, L"TypeLib");
    return {tree.Text(key),
            tree.Text(tree.Child(key, L"ProxyStubClsid32")),
            tree.Text(typeLib),
            tree.Text(typeLib, L"Version"),
            tree.Text(tree.Child(key, L"NumMethods")),
            tree.Text(tree.Child(key, L"BaseInterface"))};
}

ProgIdFacts ProgIdFactsOf(const RegTree& tree, RegTree::Key key) {
    ProgIdFacts facts;
    facts.name = tree.Text(key);
    facts.clsid = tree.Text(tree.Child(key, L"CLSID"));
    facts.currentVersion = tree.Text(tree.Child(key, L"CurVer"));
    for (const RegTree::Key verb : tree.Children(tree.Child(key, L"shell"))) {
        facts.verbs.emplace_back(tree.NameOf(verb), tree.Text(tree.Child(verb, L"command")));
    }
    return facts;
}

AppIdFacts AppIdFactsOf(const RegTree& tree, RegTree::Key key) {
    AppIdFacts facts;
    facts.name = tree.Text(key);
    facts.appId = tree.Text(key, L"AppID");
    facts.localService = tree.Text(key, L"LocalService");
    facts.runAs = tree.Text(key, L"RunAs");
    if (tree.Value(key, L"DllSurrogate") != nullptr) {
        facts.dllSurrogate = tree.Text(key, L"DllSurrogate");
    }
    return facts;
}

ExtensionFacts ExtensionFactsOf(const RegTree& tree, RegTree::Key key) {
    return {tree.Text(key), tree.Text(key, L"Content Type"), tree.Text(key, L"PerceivedType"),
            tree.Text(tree.Child(key, L"PersistentHandler"))};
}

// The class is in the default value. A handler's name may be its class, and the default value be missing.
ShellExtensionFacts ShellExtensionFactsOf(const RegTree& tree, RegTree::Key key, ShellExtensionFacts facts) {
    const std::wstring text = tree.Text(key);
    facts.clsid = !IsGuidText(text) && IsGuidText(facts.name) ? facts.name : text;
    return facts;
}

std::optional<std::uint32_t> NumberOf(const RegTree& tree, RegTree::Key key, std::wstring_view name) {
    const RegEntry* const entry = tree.Value(key, name);
    return entry == nullptr ? std::nullopt : EntryNumber(*entry);
}

ServiceFacts ServiceFactsOf(const RegTree& tree, RegTree::Key key) {
    return {tree.Text(key, L"DisplayName"),
            tree.Text(key, L"ImagePath"),
            tree.Text(tree.Child(key, L"Parameters"), L"ServiceDll"),
            tree.Text(key, L"ObjectName"),
            NumberOf(tree, key, L"Type"),
            NumberOf(tree, key, L"Start")};
}

} // namespace

ObjectFacts FactsOf(ObjectKind kind, const RegTree& tree, RegTree::Key key,
                    ShellExtensionFacts shellExtension) {
    switch (kind) {
    case ObjectKind::Class:
        return ClassFactsOf(tree, key);
    case ObjectKind::Interface:
        return InterfaceFactsOf(tree, key);
    case ObjectKind::TypeLib:
        return TypeLibFactsOf(tree, key);
    case ObjectKind::ProgId:
        return ProgIdFactsOf(tree, key);
    case ObjectKind::AppId:
        return AppIdFactsOf(tree, key);
    case ObjectKind::Category:
        return CategoryFacts{tree.Texts(key)};
    case ObjectKind::Extension:
        return ExtensionFactsOf(tree, key);
    case ObjectKind::ShellExtension:
        return ShellExtensionFactsOf(tree, key, std::move(shellExtension));
    default:
        return ServiceFactsOf(tree, key);
    }
}

} // namespace keyreap
