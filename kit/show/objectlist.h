#pragma once

#include "kit/show/capturetree.h"
#include "kit/show/objecttexts.h"
#include "kit/show/showpage.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace keyreap {

// An object by its identity in all captures.
struct ComparedObject {
    ObjectIdentity identity;
    std::wstring id; // in the spelling of the first file that has it
    std::wstring name;
    std::vector<std::size_t> keys;                             // of the tree, in its order
    std::vector<std::optional<std::vector<ObjectText>>> texts; // of each capture that has the object
};

// In the order of their kinds, then of their names.
std::vector<ComparedObject> ObjectsOf(std::span<const PageCapture> captures, const CaptureTree& tree);

// Finds the objects that texts name.
class ObjectTargets {
public:
    // Keeps a reference to the objects.
    explicit ObjectTargets(const std::vector<ComparedObject>& objects);

    // The index of the object that a text of `from` names, best in the same part of the registry;
    // CaptureTree::none if there is none.
    std::size_t IndexOf(const ComparedObject& from, const ObjectText& text) const;

private:
    const std::vector<ComparedObject>& objects;
    std::multimap<std::pair<ObjectKind, std::wstring>, std::size_t> indices;
};

} // namespace keyreap
