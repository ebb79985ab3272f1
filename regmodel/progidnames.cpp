#include "regmodel/progidnames.h"

#include "platform/core/text/compare.h"

namespace keyreap {

ProgIdNames::ProgIdNames(const RegDocument& document, const RegTree& tree) : tree(tree) {
    for (const RegSection& section : document.sections) {
        AddNamedBy(section);
    }
}

void ProgIdNames::AddNamedBy(const RegSection& section) {
    const RegPlace place = PlaceOf(section.path);
    const std::vector<std::wstring>& names = place.names;
    if (place.scope.area != RegArea::Classes || names.empty()) {
        return;
    }
    const bool isOfClass =
        names.size() == 3 && EqualFolded(names[0], L"CLSID") &&
        (EqualFolded(names[2], L"ProgID") || EqualFolded(names[2], L"VersionIndependentProgID"));
    const bool isExtension = names.size() == 1 && names[0].starts_with(L'.');
    const bool isVersion = names.size() == 2 && EqualFolded(names[1], L"CurVer");
    if (isOfClass || isExtension || isVersion) {
        named.insert(FoldedText(tree.Text(tree.Find(place, names.size()))));
    }
    const bool isList =
        names.size() == 2 && names[0].starts_with(L'.') && EqualFolded(names[1], L"OpenWithProgids");
    if (isList) {
        for (const RegEntry& entry : section.entries) {
            named.insert(FoldedText(entry.name));
        }
    }
}

bool ProgIdNames::IsProgId(const RegPlace& place) const {
    if (place.scope.area != RegArea::Classes || place.names.empty()) {
        return false;
    }
    const RegTree::Key key = tree.Find(place, 1);
    const bool saysSo =
        tree.Child(key, L"CLSID") != RegTree::noKey || tree.Child(key, L"CurVer") != RegTree::noKey;
    return saysSo || named.contains(FoldedText(place.names[0]));
}

} // namespace keyreap
