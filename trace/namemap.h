#pragma once

#include "trace/namerules.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace keyreap {

// A registry name with the 64-bit FNV-1a of its folded form.
struct HashedName {
    std::wstring_view text;
    std::uint64_t hash;
};

// The entries of one registry key by name: an owning hash map. An `Entry` has the fields `name` and
// `nameHash`, and stays at one address for life. A look-up allocates nothing.
template <typename Entry>
class NameMap {
    using Owner = std::unique_ptr<Entry>;

public:
    // `nameRules` outlives the map.
    explicit NameMap(const NameRules& nameRules) : rules(&nameRules) {}

    bool IsEmpty() const { return entries.empty(); }
    std::size_t Size() const { return entries.size(); }

    // All entries, in the order in which they were added as long as none was removed.
    const std::vector<Owner>& Entries() const { return entries; }

    // The entry of that name, or null.
    Entry* Find(const HashedName& name) const {
        const std::uint32_t position = PositionOf(name);
        return position == none ? nullptr : entries[position].get();
    }

    // Adds an entry in the place of the one of its name, if there is one, which is destroyed.
    Entry* AddOrReplace(Owner entry) {
        const std::uint32_t position = PositionOf({entry->name, entry->nameHash});
        if (position == none) {
            return Add(std::move(entry));
        }
        entries[position] = std::move(entry);
        return entries[position].get();
    }

    // Adds an entry whose name the map hasn't.
    Entry* Add(Owner entry) {
        if (entries.empty()) {
            hashes.reserve(usualEntries);
            entries.reserve(usualEntries);
        }
        hashes.push_back(entry->nameHash);
        entries.push_back(std::move(entry));
        if (2 * entries.size() > index.size()) {
            BuildIndex();
        } else {
            AddToIndex(static_cast<std::uint32_t>(entries.size() - 1));
        }
        return entries.back().get();
    }

    // Destroys the entry of that name, if there is one.
    void Remove(const HashedName& name) {
        const std::uint32_t position = PositionOf(name);
        if (position != none) {
            std::swap(hashes[position], hashes.back());
            std::swap(entries[position], entries.back());
            TakeLast();
        }
    }

    // The last entry of a map that isn't empty, and the same, taken out.
    Entry& Last() const { return *entries.back(); }
    Owner TakeLast() {
        index.clear(); // the next addition builds it anew
        Owner last = std::move(entries.back());
        entries.pop_back();
        hashes.pop_back();
        return last;
    }

private:
    static constexpr std::uint32_t none = UINT32_MAX;
    static constexpr std::size_t usualEntries = 4; // taken at once, since most keys have no more
    static constexpr std::size_t fewEntries = 8;   // whose hashes are looked through faster than an index

    // The rules' comparison may hold names equal whose hashes differ. The whole hash is compared first, so
    // that no outcome depends on the names' happening to meet in a search.
    bool Matches(std::uint32_t position, const HashedName& name) const {
        return hashes[position] == name.hash &&
               (entries[position]->name == name.text || rules->AreEqual(entries[position]->name, name.text));
    }

    std::uint32_t PositionOf(const HashedName& name) const {
        return index.empty() ? Search(name) : Probe(name);
    }

    std::uint32_t Search(const HashedName& name) const {
        for (std::uint32_t position = 0; position < entries.size(); ++position) {
            if (Matches(position, name)) {
                return position;
            }
        }
        return none;
    }

    std::uint32_t Probe(const HashedName& name) const {
        std::size_t slot = SlotOf(name.hash);
        while (index[slot] != none && !Matches(index[slot], name)) {
            slot = SlotOf(slot + 1);
        }
        return index[slot];
    }

    void BuildIndex() {
        if (entries.size() <= fewEntries) {
            return;
        }
        index.assign(std::bit_ceil(4 * entries.size()), none);
        for (std::uint32_t position = 0; position < entries.size(); ++position) {
            AddToIndex(position);
        }
    }

    void AddToIndex(std::uint32_t position) {
        std::size_t slot = SlotOf(hashes[position]);
        while (index[slot] != none) {
            slot = SlotOf(slot + 1);
        }
        index[slot] = position;
    }

    std::size_t SlotOf(std::uint64_t hash) const {
        return static_cast<std::size_t>(hash) & (index.size() - 1);
    }

    const NameRules* rules;
    std::vector<std::uint64_t> hashes; // of the entries, side by side
    std::vector<Owner> entries;
    std::vector<std::uint32_t> index; // positions by hash, a power of two of slots; empty for few entries
};

} // namespace keyreap
