#pragma once

#include "trace/arena.h"
#include "trace/replay/namerules.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace keyreap {

// A registry name with the 64-bit FNV-1a of its folded form.
struct HashedName {
    std::wstring_view text;
    std::uint64_t hash;
};

// What all maps of one log share: the rules that compare names, and the memory of everything.
struct NameStore {
    const NameRules& rules;
    Arena arena;
};

// The entries of one registry key by name: a hash map. An `Entry` has an operation `Name`, which gives a
// HashedName. The map points at its entries, which must not move. A look-up allocates nothing.
template <typename Entry>
class NameMap {
public:
    // `store` outlives the map.
    explicit NameMap(NameStore& store) : store(&store) {}

    bool IsEmpty() const { return entries.empty(); }
    std::size_t Size() const { return entries.size(); }

    // All entries, in the order in which they were added as long as none was removed.
    const ArenaList<Entry*>& Entries() const { return entries; }

    // The entry of that name, or null.
    Entry* Find(const HashedName& name) const {
        const std::uint32_t position = PositionOf(name);
        return position == none ? nullptr : entries[position];
    }

    // Adds an entry, and drops the one of the same name, if there is one.
    void AddOrReplace(Entry& entry) {
        const std::uint32_t position = PositionOf(entry.Name());
        if (position == none) {
            Add(entry);
        } else {
            entries[position] = &entry;
        }
    }

    // Adds an entry whose name isn't in the map yet.
    void Add(Entry& entry) {
        hashes.Add(entry.Name().hash, store->arena);
        entries.Add(&entry, store->arena);
        if (2 * entries.size() > index.size()) {
            BuildIndex();
        } else {
            AddToIndex(static_cast<std::uint32_t>(entries.size() - 1));
        }
    }

    // Removes the entry of that name, if there is one.
    void Remove(const HashedName& name) {
        const std::uint32_t position = PositionOf(name);
        if (position != none) {
            std::swap(hashes[position], hashes.back());
            std::swap(entries[position], entries.back());
            hashes.RemoveLast();
            entries.RemoveLast();
            index.Clear(); // the next addition rebuilds it
        }
    }

    void Clear() {
        hashes.Clear();
        entries.Clear();
        index.Clear();
    }

private:
    static constexpr std::uint32_t none = UINT32_MAX;
    static constexpr std::size_t fewEntries = 8; // a search through their hashes is faster than an index

    // The rules' comparison may hold names equal whose hashes differ. The whole hash is compared first, so
    // that no result depends on which names meet in a search.
    bool Matches(std::uint32_t position, const HashedName& name) const {
        if (hashes[position] != name.hash) {
            return false;
        }
        const std::wstring_view text = entries[position]->Name().text;
        return text == name.text || store->rules.AreEqual(text, name.text);
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
        index.Fill(std::bit_ceil(4 * entries.size()), none, store->arena);
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

    NameStore* store;
    ArenaList<std::uint64_t> hashes; // of the entries, side by side
    ArenaList<Entry*> entries;
    ArenaList<std::uint32_t> index; // positions by hash, a power of two of slots; empty for few entries
};

} // namespace keyreap
