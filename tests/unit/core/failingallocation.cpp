#include "tests/unit/core/failingallocation.h"

#include <cstddef>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

bool failNext = false;

} // namespace

void* operator new(std::size_t size) {
    void* memory = std::exchange(failNext, false) ? nullptr : std::malloc(size == 0 ? 1 : size);
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

void FailNextAllocation() {
    failNext = true;
}

} // namespace keyreap::testsupport
