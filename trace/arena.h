#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace keyreap {

// Memory for many small objects that are freed together. No object is freed alone, and none is destroyed. Its
// pieces are small enough for a heap to give the memory of one user to the next.
class Arena {
public:
    Arena() = default;
    Arena(Arena&& other) noexcept { *this = std::move(other); }
    Arena& operator=(Arena&& other) noexcept {
        pieces = std::exchange(other.pieces, {});
        free = std::exchange(other.free, {});
        last = std::exchange(other.last, nullptr);
        return *this;
    }

    template <typename Object, typename... Arguments>
    Object* Make(Arguments&&... arguments) {
        static_assert(std::is_trivially_destructible_v<Object>);
        return ::new (static_cast<void*>(Allocate<Object>(1))) Object{std::forward<Arguments>(arguments)...};
    }

    // Returns a copy of the text.
    std::wstring_view Keep(std::wstring_view text) {
        wchar_t* const kept = Allocate<wchar_t>(text.size());
        text.copy(kept, text.size());
        return {kept, text.size()};
    }

    // Returns a copy of the text, with one unit after it.
    std::wstring_view KeepWith(std::wstring_view text, wchar_t after) {
        wchar_t* const kept = Allocate<wchar_t>(text.size() + 1);
        text.copy(kept, text.size());
        kept[text.size()] = after;
        return {kept, text.size() + 1};
    }

    // Makes the text longer by these units where it is. False, with nothing changed, if it isn't the object
    // that was made last, if it is empty, or if there is no room after it.
    bool Extend(std::wstring_view text, std::wstring_view more) {
        const std::size_t size = SizeOf<wchar_t>(text.size());
        const std::size_t newSize = SizeOf<wchar_t>(text.size() + more.size());
        if (text.empty() || text.data() != last || newSize - size > free.size()) {
            return false;
        }
        more.copy(static_cast<wchar_t*>(last) + text.size(), more.size());
        free = free.subspan(newSize - size);
        return true;
    }

    // Frees everything.
    void Release() { *this = Arena(); }

    // Uninitialised storage for `count` objects.
    template <typename Object>
    Object* Allocate(std::size_t count) {
        static_assert(alignof(Object) <= unit);
        const std::size_t size = SizeOf<Object>(count);
        if (size > free.size()) {
            return static_cast<Object*>(AllocateElsewhere(size));
        }
        last = free.data();
        free = free.subspan(size);
        return static_cast<Object*>(last);
    }

private:
    template <typename Object>
    static constexpr std::size_t SizeOf(std::size_t count) {
        return (count * sizeof(Object) + unit - 1) / unit * unit;
    }

    static constexpr std::size_t unit = 8; // bytes; every object begins at such a place
    static constexpr std::size_t pieceSize = std::size_t{64} * 1024; // in bytes

    // A large object has a piece of its own, and the piece before goes on being filled.
    void* AllocateElsewhere(std::size_t size) {
        const bool isLarge = size > pieceSize / 8;
        pieces.push_back(std::make_unique_for_overwrite<std::byte[]>(isLarge ? size : pieceSize));
        std::byte* const place = pieces.back().get();
        last = nullptr;
        if (!isLarge) {
            last = place;
            free = {place + size, pieceSize - size};
        }
        return place;
    }

    std::vector<std::unique_ptr<std::byte[]>> pieces;
    std::span<std::byte> free; // of the last piece that isn't one large object
    void* last = nullptr;      // the object before the free bytes, if it was made last
};

} // namespace keyreap
