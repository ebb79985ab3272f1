#pragma once

#include <cstdint>

namespace keyreap {

// Owns one handle and closes it at the end of its life. The policy defines the handle:
//     using Handle = ...;                      the raw type
//     static Handle Empty();                   the value of an owner without a handle
//     static bool IsValid(Handle handle);      whether there is something to close
//     static void Close(Handle handle);        called for valid handles only
template <typename Policy>
class Owned {
public:
    using Handle = typename Policy::Handle;

    Owned() = default;
    explicit Owned(Handle handle) : handle(handle) {}
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    Owned(Owned&& other) noexcept : handle(other.Release()) {}
    Owned& operator=(Owned&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    ~Owned() { Reset(); }

    // Closes the handle and takes the given one, if any, in its place.
    void Reset(Handle next = Policy::Empty()) noexcept {
        if (Policy::IsValid(handle)) {
            Policy::Close(handle);
        }
        handle = next;
    }

    // Gives the handle away unclosed; the caller owns it now.
    [[nodiscard]] Handle Release() noexcept {
        const Handle given = handle;
        handle = Policy::Empty();
        return given;
    }

    // The handle, still owned here.
    Handle Get() const noexcept { return handle; }

    bool Valid() const noexcept { return Policy::IsValid(handle); }

private:
    Handle handle = Policy::Empty();
};

// The policy of a pointer that one function closes. The pointer of an empty owner is the number `empty`. Null
// is never valid.
template <typename Pointer, auto close, std::intptr_t empty = 0>
struct ClosedBy {
    using Handle = Pointer;
    static Handle Empty() { return reinterpret_cast<Handle>(empty); }
    static bool IsValid(Handle handle) { return handle != nullptr && handle != Empty(); }
    static void Close(Handle handle) { close(handle); }
};

} // namespace keyreap
