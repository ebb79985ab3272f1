#include "tests/support/failingallocation.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

int failuresLeft = 0;

} // namespace

void* operator new(std::size_t size) {
    if (failuresLeft > 0) {
        --failuresLeft;
        throw std::bad_alloc();
    }
    void* memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace keyreap::testsupport {

void FailNextAllocations(int count) {
    failuresLeft = count;
}

} // namespace keyreap::testsupport
