#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

namespace keyreap {

// Memory for many small things that end together: none is given back by itself, and none is destroyed.
class Arena {
public:
    template <typename Thing, typename... Arguments>
    Thing* Make(Arguments&&... arguments) {
        static_assert(std::is_trivially_destructible_v<Thing>);
        return ::new (static_cast<void*>(Room<Thing>(1))) Thing(std::forward<Arguments>(arguments)...);
    }

    // A copy of the text.
    std::wstring_view Keep(std::wstring_view text) {
        wchar_t* const kept = Room<wchar_t>(text.size());
        std::ranges::copy(text, kept);
        return {kept, text.size()};
    }

    // Room for so many things, not made yet.
    template <typename Thing>
    Thing* Room(std::size_t count) {
        return static_cast<Thing*>(memory.allocate(count * sizeof(Thing), alignof(Thing)));
    }

private:
    static constexpr std::size_t firstPiece = 64 * 1024; // bytes; later pieces are larger

    std::pmr::monotonic_buffer_resource memory{firstPiece};
};

// A list whose things lie in an arena, side by side. It holds 32 bits of sizes, as there are never more of
// one kind.
template <typename Thing>
class ArenaList {
    static_assert(std::is_trivially_copyable_v<Thing> && std::is_trivially_destructible_v<Thing>);

public:
    using value_type = Thing;
    using const_iterator = const Thing*;

    const Thing* begin() const { return things; }
    const Thing* end() const { return things + count; }
    std::size_t size() const { return count; }
    bool empty() const { return count == 0; }
    Thing& operator[](std::size_t position) { return things[position]; }
    const Thing& operator[](std::size_t position) const { return things[position]; }
    Thing& back() { return things[count - 1]; }
    const Thing& back() const { return things[count - 1]; }

    void Add(const Thing& thing, Arena& arena) {
        if (count == capacity) {
            Grow(arena);
        }
        ::new (static_cast<void*>(things + count++)) Thing(thing);
    }

    void RemoveLast() { --count; }
    void Clear() { count = 0; }

    // So many copies of a thing, and nothing else.
    void Fill(std::size_t size, const Thing& thing, Arena& arena) {
        if (size > capacity) {
            things = arena.Room<Thing>(size);
            capacity = static_cast<std::uint32_t>(size);
        }
        std::uninitialized_fill_n(things, size, thing);
        count = static_cast<std::uint32_t>(size);
    }

private:
    static constexpr std::uint32_t usualSize = 4; // taken at once, since most lists have no more

    void Grow(Arena& arena) {
        const std::uint32_t next = std::max(2 * capacity, usualSize);
        Thing* const larger = arena.Room<Thing>(next);
        std::uninitialized_copy_n(things, count, larger);
        things = larger;
        capacity = next;
    }

    Thing* things = nullptr;
    std::uint32_t count = 0;
    std::uint32_t capacity = 0;
};

} // namespace keyreap
