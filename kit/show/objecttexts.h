#pragma once

#include "regmodel/regobjects.h"

#include <optional>
#include <string>
#include <vector>

namespace keyreap {

// One thing that the registry says about an object, as people read it.
struct ObjectText {
    std::wstring label;
    std::wstring text;
    std::optional<ObjectKind> target; // if the text is the id of another object: of which kind
};

// The name for people; empty if the registry has none.
std::wstring NameOf(const ObjectFacts& facts);

std::vector<ObjectText> TextsOf(const ObjectFacts& facts);

// How the place of an object differs from the classes of the machine as its own programs see them; empty if
// in nothing.
std::wstring ScopeText(const RegScope& scope);

} // namespace keyreap
