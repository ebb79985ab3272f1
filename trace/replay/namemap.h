#pragma once

#include "trace/arena.h"
#include "trace/replay/namerules.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
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

// What an entry of a map has for the map. An entry is in one map at a time.
template <typename Entry>
class MapEntry {
private:
    template <typename>
    friend class NameMap;

    Entry* before = nullptr; // the next older one in its map
};

// The entries of one registry key by name: a hash map. An `Entry` is a MapEntry, and has an operation `Name`,
// which gives a HashedName. The map points at its entries, which must not move. A look-up allocates nothing,
// nor does an addition to few entries.
template <typename Entry>
class NameMap {
public:
    // `store` outlives the map.
    explicit NameMap(NameStore& store) : store(&store) {}

    bool IsEmpty() const { return count == 0; }
    std::size_t Size() const { return count; }

    // Walks through the entries, the one that was added last first.
    template <typename Visited>
    class Iterator {
    public:
        explicit Iterator(Visited* entry) : entry(entry) {}

        Visited& operator*() const { return *entry; }
        Iterator& operator++() {
            entry = entry->before;
            return *this;
        }
        bool operator==(const Iterator&) const = default;

    private:
        Visited* entry;
    };

    Iterator<Entry> begin() { return Iterator<Entry>(newest); }
    Iterator<Entry> end() { return Iterator<Entry>(nullptr); }
    Iterator<const Entry> begin() const { return Iterator<const Entry>(newest); }
    Iterator<const Entry> end() const { return Iterator<const Entry>(nullptr); }

    // The entry of that name, or null.
    Entry* Find(const HashedName& name) const { return index.empty() ? *LinkTo(name) : index[SlotFor(name)]; }

    // Adds an entry, or puts it in the place of the one of the same name, if there is one.
    void AddOrReplace(Entry& entry) {
        if (Find(entry.Name()) == nullptr) {
            Add(entry);
            return;
        }
        Entry*& link = *LinkTo(entry.Name());
        if (!index.empty()) {
            index[SlotFor(entry.Name())] = &entry;
        }
        entry.before = link->before;
        link = &entry;
    }

    // Adds an entry whose name isn't in the map yet.
    void Add(Entry& entry) {
        entry.before = newest;
        newest = &entry;
        ++count;
        if (2 * count > index.size()) {
            BuildIndex();
        } else {
            AddToIndex(entry);
        }
    }

    // Removes the entry of that name, if there is one.
    void Remove(const HashedName& name) {
        Entry*& link = *LinkTo(name);
        if (link != nullptr) {
            link = link->before;
            --count;
            index = {}; // the next addition rebuilds it
        }
    }

    void Clear() {
        newest = nullptr;
        count = 0;
        index = {};
    }

private:
    static constexpr std::size_t fewEntries = 8; // a search through them is faster than an index

    // The rules' comparison may hold names equal whose hashes differ. The whole hash is compared first, so
    // that no result depends on which names meet in a search.
    bool IsNamed(const Entry& entry, const HashedName& name) const {
        const HashedName& own = entry.Name();
        return own.hash == name.hash && (own.text == name.text || store->rules.AreEqual(own.text, name.text));
    }

    // The pointer to the entry of that name, or else the null pointer at the end.
    Entry* const* LinkTo(const HashedName& name) const {
        Entry* const* link = &newest;
        while (*link != nullptr && !IsNamed(**link, name)) {
            link = &(*link)->before;
        }
        return link;
    }
    Entry** LinkTo(const HashedName& name) { return const_cast<Entry**>(std::as_const(*this).LinkTo(name)); }

    // The slot of that name, or the free one for it.
    std::size_t SlotFor(const HashedName& name) const {
        std::size_t slot = SlotOf(name.hash);
        while (index[slot] != nullptr && !IsNamed(*index[slot], name)) {
            slot = SlotOf(slot + 1);
        }
        return slot;
    }

    void BuildIndex() {
        if (count <= fewEntries) {
            return;
        }
        const std::size_t size = std::bit_ceil(std::size_t{4} * count);
        index = {store->arena.template Allocate<Entry*>(size), size};
        std::uninitialized_fill(index.begin(), index.end(), nullptr);
        for (Entry& entry : *this) {
            AddToIndex(entry);
        }
    }

    void AddToIndex(Entry& entry) {
        std::size_t slot = SlotOf(entry.Name().hash);
        while (index[slot] != nullptr) {
            slot = SlotOf(slot + 1);
        }
        index[slot] = &entry;
    }

    std::size_t SlotOf(std::uint64_t hash) const {
        return static_cast<std::size_t>(hash) & (index.size() - 1);
    }

    NameStore* store;
    Entry* newest = nullptr;
    std::span<Entry*> index; // by hash, a power of two of slots; empty for few entries
    std::uint32_t count = 0;
};

} // namespace keyreap
