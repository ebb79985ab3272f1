#pragma once

#include "regmodel/regobjects.h"
#include "regmodel/regplace.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

// Which object a key belongs to, by its place alone.
namespace keyreap {

struct ObjectPlace {
    ObjectKind kind = ObjectKind::Class;
    std::size_t first = 0; // the object's id is these names of the place, with backslashes between them
    std::size_t last = 0;  // after the last of them; the object's key ends there
};

// The object; none for keys that only contain objects, and for all others. A name directly in the classes is
// that of a ProgID if `isProgId` says so.
std::optional<ObjectPlace> ObjectAt(const RegPlace& place,
                                    const std::function<bool(const RegPlace&)>& isProgId);

// The shell extension of a key: a place in a shellex key, or in one of Explorer's lists.
std::optional<ShellExtensionFacts> ShellExtensionAt(const RegPlace& place, const ObjectPlace& object);

// True for the list whose values, and not keys, are shell extensions.
bool IsApprovedList(const RegPlace& place);

} // namespace keyreap
