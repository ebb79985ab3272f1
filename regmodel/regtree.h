#pragma once

#include "platform/core/text/hash.h"
#include "regmodel/regentry.h"
#include "regmodel/regplace.h"

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace keyreap {

// An entry by its place in a document.
struct RegEntryRef {
    std::size_t section = 0;
    std::size_t entry = 0;

    friend auto operator<=>(const RegEntryRef&, const RegEntryRef&) = default;
};

// The registry as a document's import would leave it: the sections in their order, each value as it was set
// last, without what was deleted afterwards. Damaged entries count as what was meant. Keys are numbers; names
// are found with A to Z folded. Time and memory are proportional to the document's size.
class RegTree {
public:
    using Key = std::size_t;
    static constexpr Key noKey = static_cast<Key>(-1);

    // Keeps a reference to the document.
    explicit RegTree(const RegDocument& document);

    // The key at a place: the first `count` of its names. It exists if a section names it or a key below it.
    Key Find(const RegPlace& place, std::size_t count) const;

    // The key of this name in a key; none in no key.
    Key Child(Key key, std::wstring_view name) const;

    // The keys in a key in the order of their first sections.
    std::vector<Key> Children(Key key) const;

    // The key's own name in the spelling of its first section.
    const std::wstring& NameOf(Key key) const;

    // The value of a key, the default one without a name; null if it isn't set.
    const RegEntry* Value(Key key, std::wstring_view name = {}) const;

    // Its text; empty without one.
    std::wstring Text(Key key, std::wstring_view name = {}) const;

    // All values that are texts, with their names in the spelling of their first entries.
    std::vector<std::pair<std::wstring, std::wstring>> Texts(Key key) const;

private:
    struct Node {
        std::wstring name;
        std::vector<Key> children;            // also deleted ones
        std::vector<std::wstring> valueNames; // also those of deleted values
        bool isPresent = false;
        bool isListed = false;     // by its parent
        std::size_t deletions = 0; // values set before a deletion don't count
    };

    struct Name {
        Key key = noKey;
        std::wstring folded;

        friend bool operator==(const Name&, const Name&) = default;
    };

    struct NameHash {
        std::size_t operator()(const Name& name) const {
            Fnv1a hash;
            hash.AddInteger(name.key);
            hash.AddText(name.folded);
            return static_cast<std::size_t>(hash.Value());
        }
    };

    struct SetValue {
        const RegEntry* entry = nullptr;
        std::size_t deletions = 0;
    };

    void AddSection(const RegSection& section);
    void AddEntry(Key key, const RegEntry& entry);
    Key Added(Key parent, std::wstring_view name);
    Key AddedRoot(const RegScope& scope);
    void Remove(Key key);

    std::vector<Node> nodes;
    std::map<RegScope, Key> roots;
    std::unordered_map<Name, Key, NameHash> keys;
    std::unordered_map<Name, SetValue, NameHash> values;
};

} // namespace keyreap
