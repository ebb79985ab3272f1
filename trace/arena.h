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
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

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
    std::wstring_view KeepWith(std::wstring_view text, wchar_t last) {
        wchar_t* const kept = Allocate<wchar_t>(text.size() + 1);
        text.copy(kept, text.size());
        kept[text.size()] = last;
        return {kept, text.size() + 1};
    }

    // Frees everything.
    void Release() {
        pieces.clear();
        free = {};
    }

    // Uninitialised storage for `count` objects.
    template <typename Object>
    Object* Allocate(std::size_t count) {
        static_assert(alignof(Object) <= unit);
        const std::size_t size = (count * sizeof(Object) + unit - 1) / unit * unit;
        if (size > free.size()) {
            return static_cast<Object*>(AllocateElsewhere(size));
        }
        void* const place = free.data();
        free = free.subspan(size);
        return static_cast<Object*>(place);
    }

private:
    static constexpr std::size_t unit = 8; // bytes; every object begins at such a place
    static constexpr std::size_t pieceSize = std::size_t{64} * 1024; // in bytes

    // A large object has a piece of its own, and the piece before goes on being filled.
    void* AllocateElsewhere(std::size_t size) {
        const bool isLarge = size > pieceSize / 8;
        pieces.push_back(std::make_unique_for_overwrite<std::byte[]>(isLarge ? size : pieceSize));
        std::byte* const place = pieces.back().get();
        if (!isLarge) {
            free = {place + size, pieceSize - size};
        }
        return place;
    }

    std::vector<std::unique_ptr<std::byte[]>> pieces;
    std::span<std::byte> free; // of the last piece that isn't one large object
};

} // namespace keyreap
