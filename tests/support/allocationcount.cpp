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

// Returns the pointer, and counts it if it is not null.
void* Released(void* memory) {
    if (memory) {
        ++releases;
    }
    return memory;
}

// Not every system's C library has a function for this. The address of the whole allocation is stored
// directly before the aligned part.
void* AllocateAligned(std::size_t size, std::size_t alignment) {
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

void* operator new(std::size_t size) {
    return Counted(std::malloc(std::max<std::size_t>(size, 1)));
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    return Counted(AllocateAligned(std::max<std::size_t>(size, 1), static_cast<std::size_t>(alignment)));
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
