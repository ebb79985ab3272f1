#include "platform/core/text/compare.h"
#include "regmodel/objectfacts.h"

#include <algorithm>
#include <array>

namespace keyreap {

namespace {

constexpr std::array<std::wstring_view, 6> serverKinds = {L"InprocServer32",  L"LocalServer32",
                                                          L"InprocHandler32", L"InprocServer",
                                                          L"LocalServer",     L"InprocHandler"};
constexpr std::array<std::wstring_view, 3> markKeys = {L"Control", L"Insertable", L"Programmable"};

bool IsOneOf(std::wstring_view name, std::span<const std::wstring_view> names) {
    return std::ranges::any_of(names, [name](std::wstring_view other) { return EqualFolded(name, other); });
}

std::vector<std::wstring> NamesIn(const RegTree& tree, RegTree::Key key) {
    std::vector<std::wstring> names;
    for (const RegTree::Key child : tree.Children(key)) {
        names.push_back(tree.NameOf(child));
    }
    return names;
}

TypeLibVersion VersionOf(const RegTree& tree, RegTree::Key key) {
    TypeLibVersion version;
    version.version = tree.NameOf(key);
    version.name = tree.Text(key);
    version.flags = tree.Text(tree.Child(key, L"FLAGS"));
    version.helpDir = tree.Text(tree.Child(key, L"HELPDIR"));
    for (const RegTree::Key language : tree.Children(key)) {
        for (const RegTree::Key platform : tree.Children(language)) {
            version.files.push_back({tree.NameOf(language), tree.NameOf(platform), tree.Text(platform)});
        }
    }
    return version;
}

} // namespace

ClassFacts ClassFactsOf(const RegTree& tree, RegTree::Key key) {
    const auto textOf = [&](std::wstring_view name) { return tree.Text(tree.Child(key, name)); };
    ClassFacts facts;
    facts.name = tree.Text(key);
    facts.progId = textOf(L"ProgID");
    facts.versionIndependentProgId = textOf(L"VersionIndependentProgID");
    facts.typeLib = textOf(L"TypeLib");
    facts.version = textOf(L"Version");
    facts.appId = tree.Text(key, L"AppID");
    facts.treatAs = textOf(L"TreatAs");
    facts.implementedCategories = NamesIn(tree, tree.Child(key, L"Implemented Categories"));
    facts.requiredCategories = NamesIn(tree, tree.Child(key, L"Required Categories"));
    const RegTree::Key miscStatus = tree.Child(key, L"MiscStatus");
    facts.miscStatus = tree.Text(miscStatus);
    for (const RegTree::Key aspect : tree.Children(miscStatus)) {
        facts.miscStatusOfAspects.emplace_back(tree.NameOf(aspect), tree.Text(aspect));
    }
    for (const RegTree::Key child : tree.Children(key)) {
        const std::wstring& name = tree.NameOf(child);
        if (IsOneOf(name, serverKinds)) {
            facts.servers.push_back({name, tree.Text(child), tree.Text(child, L"ThreadingModel")});
        } else if (IsOneOf(name, markKeys)) {
            facts.marks.push_back(name);
        }
    }
    return facts;
}

TypeLibFacts TypeLibFactsOf(const RegTree& tree, RegTree::Key key) {
    TypeLibFacts facts;
    for (const RegTree::Key version : tree.Children(key)) {
        facts.versions.push_back(VersionOf(tree, version));
    }
    return facts;
}

} // namespace keyreap
