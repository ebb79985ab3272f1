#pragma once

#include "kit/emit/installdata.h"

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace keyreap {

// An entry below the classes of the scope: the key's path and the value's name, folded. A default value's
// name is empty.
using EntryName = std::pair<std::wstring, std::wstring>;

// What a component registers below the classes of its scope. An entry can be taken out of the component, when
// something else says it. Keys and names are compared as the registry does, data exactly.
class ClassEntries {
public:
    ClassEntries(InstallComponent& component, const InstallData& data);

    // The names of each key below the classes, in the component's order.
    const std::vector<std::vector<std::wstring>>& Keys() const { return keys; }

    // The text of a REG_SZ that nobody has taken; null without one.
    const PieceText* TextAt(const EntryName& name) const;

    // True for a key that was registered without values, and that nobody has taken.
    bool IsEmptyKey(const std::wstring& path) const;

    // Does nothing if there is no such entry.
    void Take(const EntryName& name);
    void TakeKey(const std::wstring& path);

    // Removes what was taken from the component.
    void Finish();

private:
    using Place = std::pair<std::size_t, std::size_t>; // a key and a value of it

    InstallComponent& component;
    std::vector<std::vector<std::wstring>> keys;
    std::map<EntryName, Place> values;
    std::map<std::wstring, std::size_t> emptyKeys;
    // The last first: what is removed moves only what follows it.
    std::set<Place, std::greater<>> taken;
    std::set<std::size_t, std::greater<>> takenKeys;
};

} // namespace keyreap
