#include "tests/support/allocationcount.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>

namespace {

std::atomic<std::size_t> allocations{0};
std::atomic<std::size_t> releases{0};

// Returns the pointer, and counts it if it is not null.
void* Counted(void* memory) noexcept {
    if (memory) {
        ++allocations;
    }
    return memory;
}

void* CountedOrThrown(void* memory) {
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return Counted(memory);
}

void* Released(void* memory) {
    if (memory) {
        ++releases;
    }
    return memory;
}

void* Allocate(std::size_t size) {
    return std::malloc(std::max<std::size_t>(size, 1));
}

// Not every system's C library has a function for this. The address of the whole allocation is stored
// directly before the aligned part.
void* AllocateAligned(std::size_t wanted, std::align_val_t alignValue) {
    const std::size_t size = std::max<std::size_t>(wanted, 1);
    const auto alignment = static_cast<std::size_t>(alignValue);
    std::size_t space = size + alignment;
    void* const whole = std::malloc(space + sizeof(void*));
    if (whole == nullptr) {
        return nullptr;
    }
    void* aligned = static_cast<void**>(whole) + 1;
    std::align(alignment, size, aligned, space);
    static_cast<void**>(aligned)[-1] = whole;
    return aligned;
}

void FreeAligned(void* memory) {
    if (memory) {
        std::free(static_cast<void**>(memory)[-1]);
    }
}

} // namespace

// All forms, since the library releases by one form what it allocated by another.

void* operator new(std::size_t size) {
    return CountedOrThrown(Allocate(size));
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Counted(Allocate(size));
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    return CountedOrThrown(AllocateAligned(size, alignment));
}

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Counted(AllocateAligned(size, alignment));
}

void operator delete(void* memory) noexcept {
    std::free(Released(memory));
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(Released(memory));
}

void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(Released(memory));
}

void operator delete(void* memory, std::align_val_t) noexcept {
    FreeAligned(Released(memory));
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    FreeAligned(Released(memory));
}

void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    FreeAligned(Released(memory));
}

// Some libraries' forms for arrays don't call the others.

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}

void operator delete[](void* memory) noexcept {
    operator delete(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    operator delete(memory);
}

void operator delete[](void* memory, const std::nothrow_t& tag) noexcept {
    operator delete(memory, tag);
}

namespace keyreap {

std::size_t AllocationCount() {
    return allocations;
}

std::size_t LiveAllocationCount() {
    return allocations - releases;
}

} // namespace keyreap
