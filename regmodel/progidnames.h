#pragma once

#include "regmodel/regentry.h"
#include "regmodel/regplace.h"
#include "regmodel/regtree.h"

#include <string>
#include <unordered_set>

namespace keyreap {

// Nothing in its own key says that a name directly in the classes is a ProgID, if the key has only a text. So
// one is recognised by its key CLSID or CurVer, or because a class, an extension or another ProgID names it.
class ProgIdNames {
public:
    // Keeps a reference to the tree.
    ProgIdNames(const RegDocument& document, const RegTree& tree);

    // True if the place is the key of a ProgID or below one.
    bool IsProgId(const RegPlace& place) const;

private:
    void AddNamedBy(const RegSection& section);

    const RegTree& tree;
    std::unordered_set<std::wstring> named; // folded
};

} // namespace keyreap
