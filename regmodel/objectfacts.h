#pragma once

#include "regmodel/regobjects.h"
#include "regmodel/regtree.h"

namespace keyreap {

// What the entries of an object's key say. A shell extension keeps the given facts, which its place says, and
// gets its class.
ObjectFacts FactsOf(ObjectKind kind, const RegTree& tree, RegTree::Key key,
                    ShellExtensionFacts shellExtension);

ClassFacts ClassFactsOf(const RegTree& tree, RegTree::Key key);
TypeLibFacts TypeLibFactsOf(const RegTree& tree, RegTree::Key key);

} // namespace keyreap
