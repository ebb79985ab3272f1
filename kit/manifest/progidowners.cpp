#include "kit/manifest/progidowners.h"

#include "kit/emit/xmltext.h"
#include "platform/core/text/compare.h"

#include <set>

namespace keyreap {

ProgIdOwners::ProgIdOwners(std::span<const ObjectEntries> objects) {
    for (const ObjectEntries& object : objects) {
        if (object.Kind() == ObjectKind::ProgId) {
            progIds[FoldedText(object.Id())] = {FoldedText(object.Text(L"CLSID")),
                                                FoldedText(object.Text(L"CurVer"))};
        }
    }
    for (const ObjectEntries& object : objects) {
        if (object.Kind() == ObjectKind::ProgId && IsXmlText(object.Id())) {
            ofClasses[ClassOf(object.Id())].push_back(object.Id());
        }
    }
}

std::wstring ProgIdOwners::ClassOf(std::wstring_view progId) const {
    const auto known = progIds.find(FoldedText(std::wstring(progId)));
    if (known == progIds.end() || !known->second.clsid.empty()) {
        return known == progIds.end() ? std::wstring() : known->second.clsid;
    }
    // A current version that names another one is none.
    const auto current = progIds.find(known->second.currentVersion);
    return current == progIds.end() ? std::wstring() : current->second.clsid;
}

bool ProgIdOwners::Claim(const std::wstring& progId, const std::wstring& clsid) {
    const std::wstring owner = ClassOf(progId);
    return !progId.empty() && (owner.empty() || owner == clsid) &&
           claimed.try_emplace(FoldedText(progId), clsid).first->second == clsid;
}

void ProgIdOwners::AddTo(ManifestClass& one, ObjectEntries& object) {
    const std::wstring clsid = FoldedText(one.clsid);
    std::set<std::wstring> added; // folded
    const auto add = [&](const std::wstring& progId) {
        if (added.insert(FoldedText(progId)).second) {
            one.progIds.push_back(progId);
        }
    };
    for (const std::wstring_view key : {L"ProgID", L"VersionIndependentProgID"}) {
        if (const std::wstring progId = object.Text(key); Claim(progId, clsid)) {
            add(progId);
            object.Carry(key);
        }
    }
    for (const std::wstring& progId : ofClasses[clsid]) {
        if (Claim(progId, clsid)) {
            add(progId);
        }
    }
}

} // namespace keyreap
