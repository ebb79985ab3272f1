#include "tests/support/allocationcount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> allocations{0};
std::atomic<std::size_t> releases{0};

void Release(void* memory) {
    if (memory) {
        ++releases;
    }
    std::free(memory);
}

} // namespace

void* operator new(std::size_t size) {
    ++allocations;
    if (void* const memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    Release(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    Release(memory);
}

namespace keyreap {

std::size_t AllocationCount() {
    return allocations;
}

std::size_t LiveAllocationCount() {
    return allocations - releases;
}

} // namespace keyreap
