#pragma once

#include "trace/arena.h"
#include "trace/piecelist.h"
#include "trace/predefinedroot.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// A key by its root and path. A name that is not a kernel path has no root.
struct KeyPlace {
    std::optional<PredefinedRoot> root;
    std::wstring_view keyPath;
};

// The last name of a key handle, as UTF-16 units: a log names many handles that no operation of ours uses.
class HandleName {
public:
    explicit HandleName(std::uint64_t handle) : handle(handle) {}

    std::uint64_t Handle() const { return handle; }
    bool IsEmpty() const { return size == 0; }

    // Replaces the text by the name.
    void CopyTo(std::wstring& text) const;

    // Where the key is, once somebody asked for it. Most operations name nothing but a handle: they share its
    // place.
    const KeyPlace* Place() const { return place; }

private:
    friend class HandleNames;

    void Replace(std::span<const std::byte> units, Arena& arena);

    std::uint64_t handle;
    std::byte* bytes = nullptr;
    std::uint32_t size = 0;     // in bytes; an event's payload has no more
    std::uint32_t capacity = 0; // less than twice the size of the longest name so far
    const KeyPlace* place = nullptr;
};

// The names of the key handles of a log, by the 64-bit FNV-1a of the handle. Nothing is removed before the
// end of the log.
class HandleNames {
public:
    // The last name, empty or not; null if the handle has none. Handle 0 never has one.
    HandleName* Find(std::uint64_t handle);

    // Keeps the name of a handle, given as UTF-16 units. Handle 0 stays without one.
    void Set(std::uint64_t handle, std::span<const std::byte> units);

    void SetPlace(HandleName& name, const KeyPlace& place) { name.place = texts.Make<KeyPlace>(place); }

    void Clear();

private:
    HandleName*& RecentFor(std::uint64_t handle);
    HandleName* FindInSlots(std::uint64_t handle);
    HandleName& Add(std::uint64_t handle);
    std::size_t SlotOf(std::uint64_t handle);
    void AddSlots();

    // The numbers of names, from 1 on, 0 for none: a power of two of slots, half of them free.
    std::vector<std::uint32_t> slots;
    PieceList<HandleName> names;
    std::array<HandleName*, 64> recent{}; // used last: operations come in runs on a few keys
    Arena texts;
};

} // namespace keyreap
