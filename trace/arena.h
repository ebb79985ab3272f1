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

// Memory for many small objects that are freed together. No object is freed alone, and none is destroyed.
class Arena {
public:
    template <typename Object, typename... Arguments>
    Object* Make(Arguments&&... arguments) {
        static_assert(std::is_trivially_destructible_v<Object>);
        return ::new (static_cast<void*>(Allocate<Object>(1))) Object(std::forward<Arguments>(arguments)...);
    }

    // Returns a copy of the text.
    std::wstring_view Keep(std::wstring_view text) {
        wchar_t* const kept = Allocate<wchar_t>(text.size());
        std::ranges::copy(text, kept);
        return {kept, text.size()};
    }

    // Uninitialised storage for `count` objects.
    template <typename Object>
    Object* Allocate(std::size_t count) {
        return static_cast<Object*>(memory.allocate(count * sizeof(Object), alignof(Object)));
    }

private:
    static constexpr std::size_t firstPiece = std::size_t{64} * 1024; // bytes; later pieces are larger

    std::pmr::monotonic_buffer_resource memory{firstPiece};
};

// A list of objects, side by side in an arena. Its sizes have 32 bits, to keep it small: no list here gets
// longer. `usualSize` objects are allocated at once: most lists never have more.
template <typename Object, std::uint32_t usualSize = 4>
class ArenaList {
    static_assert(std::is_trivially_copyable_v<Object> && std::is_trivially_destructible_v<Object>);

public:
    using value_type = Object;
    using const_iterator = const Object*;

    const Object* begin() const { return objects; }
    const Object* end() const { return objects + count; }
    std::size_t size() const { return count; }
    bool empty() const { return count == 0; }
    Object& operator[](std::size_t position) { return objects[position]; }
    const Object& operator[](std::size_t position) const { return objects[position]; }
    Object& back() { return objects[count - 1]; }
    const Object& back() const { return objects[count - 1]; }

    void Add(const Object& object, Arena& arena) {
        if (count == capacity) {
            Grow(arena);
        }
        ::new (static_cast<void*>(objects + count++)) Object(object);
    }

    void RemoveLast() { --count; }
    void Clear() { count = 0; }

    // Replaces the content by `size` copies of an object.
    void Fill(std::size_t size, const Object& object, Arena& arena) {
        if (size > capacity) {
            objects = arena.Allocate<Object>(size);
            capacity = static_cast<std::uint32_t>(size);
        }
        std::uninitialized_fill_n(objects, size, object);
        count = static_cast<std::uint32_t>(size);
    }

private:
    void Grow(Arena& arena) {
        const std::uint32_t next = std::max(2 * capacity, usualSize);
        Object* const larger = arena.Allocate<Object>(next);
        std::uninitialized_copy_n(objects, count, larger);
        objects = larger;
        capacity = next;
    }

    Object* objects = nullptr;
    std::uint32_t count = 0;
    std::uint32_t capacity = 0;
};

} // namespace keyreap
