#pragma once

#include "kit/manifest/manifestparts.h"

#include <map>
#include <span>
#include <string>
#include <vector>

namespace keyreap {

// Which class each ProgID of the captures is for: the one that it names, or that of its current version.
class ProgIdOwners {
public:
    explicit ProgIdOwners(std::span<const ObjectEntries> objects);

    // The folded CLSID; empty if the ProgID is in no capture or names none.
    std::wstring ClassOf(std::wstring_view progId) const;

    // Adds the class's ProgIDs to it: the one that it names itself, then the one without a version, then all
    // others. No other class has them.
    void AddTo(ManifestClass& one, ObjectEntries& object);

private:
    bool Claim(const std::wstring& progId, const std::wstring& clsid);

    struct Names {
        std::wstring clsid;          // folded
        std::wstring currentVersion; // folded
    };

    std::map<std::wstring, Names> progIds;                       // folded
    std::map<std::wstring, std::vector<std::wstring>> ofClasses; // by the folded CLSID
    std::map<std::wstring, std::wstring> claimed;                // the folded CLSID by the folded ProgID
};

} // namespace keyreap
