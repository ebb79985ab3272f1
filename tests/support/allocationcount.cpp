#include "tests/support/allocationcount.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>

namespace {

std::atomic<std::size_t> allocations{0};
std::atomic<std::size_t> releases{0};

void* Counted(void* memory) {
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    ++allocations;
    return memory;
}

// The same pointer, counted if it is one.
void* Released(void* memory) {
    if (memory) {
        ++releases;
    }
    return memory;
}

// No function for this is in the C library of every system: the place of the whole piece stands ahead of its
// aligned part.
void* AlignedRoom(std::size_t size, std::size_t alignment) {
    std::size_t room = size + alignment;
    void* const whole = std::malloc(room + sizeof(void*));
    if (whole == nullptr) {
        return nullptr;
    }
    void* aligned = static_cast<void**>(whole) + 1;
    std::align(alignment, size, aligned, room);
    static_cast<void**>(aligned)[-1] = whole;
    return aligned;
}

void FreeAligned(void* memory) {
    if (memory) {
        std::free(static_cast<void**>(memory)[-1]);
    }
}

} // namespace

void* operator new(std::size_t size) {
    return Counted(std::malloc(std::max<std::size_t>(size, 1)));
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    return Counted(AlignedRoom(std::max<std::size_t>(size, 1), static_cast<std::size_t>(alignment)));
}

void operator delete(void* memory, std::align_val_t) noexcept {
    FreeAligned(Released(memory));
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    FreeAligned(Released(memory));
}

void operator delete(void* memory) noexcept {
    std::free(Released(memory));
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(Released(memory));
}

namespace keyreap {

std::size_t AllocationCount() {
    return allocations;
}

std::size_t LiveAllocationCount() {
    return allocations - releases;
}

} // namespace keyreap
