#pragma once

#include <algorithm>
#include <cstddef>
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
        return ::new (static_cast<void*>(Allocate<Object>(1))) Object{std::forward<Arguments>(arguments)...};
    }

    // Returns a copy of the text.
    std::wstring_view Keep(std::wstring_view text) {
        wchar_t* const kept = Allocate<wchar_t>(text.size());
        std::ranges::copy(text, kept);
        return {kept, text.size()};
    }

    // Returns a copy of the text, with one unit after it.
    std::wstring_view KeepWith(std::wstring_view text, wchar_t last) {
        wchar_t* const kept = Allocate<wchar_t>(text.size() + 1);
        *std::ranges::copy(text, kept).out = last;
        return {kept, text.size() + 1};
    }

    // Frees everything.
    void Release() { memory.release(); }

    // Uninitialised storage for `count` objects.
    template <typename Object>
    Object* Allocate(std::size_t count) {
        return static_cast<Object*>(memory.allocate(count * sizeof(Object), alignof(Object)));
    }

private:
    static constexpr std::size_t firstPiece = std::size_t{64} * 1024; // bytes; later pieces are larger

    std::pmr::monotonic_buffer_resource memory{firstPiece};
};

} // namespace keyreap
