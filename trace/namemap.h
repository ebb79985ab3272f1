#pragma once

#include "trace/namerules.h"

#include <cstdint>
#include <memory>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace keyreap {

// A registry name with the 64-bit FNV-1a of its folded form.
struct HashedName {
    std::wstring_view text;
    std::uint64_t hash;
};

// The entries of one registry key by name: an owning hash map. An `Entry` has the fields `name` and
// `nameHash`, stays at one address for life, and is found without allocating. The order of a walk has no
// meaning.
template <typename Entry>
class NameMap {
    using Owner = std::unique_ptr<Entry>;

    static HashedName KeyOf(const Owner& entry) { return {entry->name, entry->nameHash}; }
    static HashedName KeyOf(const HashedName& name) { return name; }

    struct Hash {
        using is_transparent = void;
        template <typename Key>
        std::size_t operator()(const Key& key) const {
            return static_cast<std::size_t>(KeyOf(key).hash);
        }
    };

    // The rules' comparison may hold names equal whose hashes differ. The whole hash is compared first, so
    // that no outcome depends on the names' happening to share a bucket.
    struct Equal {
        using is_transparent = void;
        const NameRules* rules;
        template <typename Left, typename Right>
        bool operator()(const Left& left, const Right& right) const {
            return AreSame(KeyOf(left), KeyOf(right));
        }
        bool AreSame(const HashedName& left, const HashedName& right) const {
            return left.hash == right.hash &&
                   (left.text == right.text || rules->AreEqual(left.text, right.text));
        }
    };

    using Entries = std::unordered_set<Owner, Hash, Equal>;

public:
    // `rules` outlives the map.
    explicit NameMap(const NameRules& rules) : entries(0, Hash{}, Equal{&rules}) {}

    bool IsEmpty() const { return entries.empty(); }
    std::size_t Size() const { return entries.size(); }
    auto begin() const { return entries.begin(); }
    auto end() const { return entries.end(); }

    // The entry of that name, or null.
    Entry* Find(const HashedName& name) const {
        const auto found = entries.find(name);
        return found == entries.end() ? nullptr : found->get();
    }

    // Takes an entry whose name the map hasn't.
    Entry* Add(Owner entry) { return entries.insert(std::move(entry)).first->get(); }

    // Moves one entry of `other`, which isn't empty, here; an entry of the same name here is destroyed.
    Entry* TakeOneFrom(NameMap& other) {
        auto moved = other.entries.extract(other.entries.begin());
        Remove(KeyOf(moved.value()));
        return entries.insert(std::move(moved)).position->get();
    }

    // Destroys the entry of that name, if there is one.
    void Remove(const HashedName& name) {
        const auto found = entries.find(name);
        if (found != entries.end()) {
            entries.erase(found);
        }
    }

    // Destroys one entry of a map that isn't empty.
    void RemoveOne() { entries.erase(entries.begin()); }

private:
    Entries entries;
};

} // namespace keyreap
