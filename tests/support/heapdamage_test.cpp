// Tests of the heap check: each damages the heap in its own way, and one doesn't.
#include <gtest/gtest.h>

#include <cstdlib>

namespace keyreap {
namespace {

constexpr std::size_t size = 33;

// Volatile, so that the compiler keeps every write.
using Memory = volatile char*;

Memory Allocated() {
    return static_cast<Memory>(std::malloc(size));
}

void Release(Memory memory) {
    std::free(const_cast<char*>(memory));
}

TEST(Heap, StaysWhole) {
    const Memory memory = Allocated();
    memory[size - 1] = 1;
    Release(memory);
}

TEST(Heap, IsWrittenPastMemoryThatStays) {
    Allocated()[size] = 1;
}

TEST(Heap, IsWrittenPastMemoryThatIsReleased) {
    const Memory memory = Allocated();
    memory[size] = 1;
    Release(memory);
}

TEST(Heap, IsWrittenPastMemoryThatIsResized) {
    const Memory memory = Allocated();
    memory[size] = 1;
    Release(static_cast<Memory>(std::realloc(const_cast<char*>(memory), 2 * size)));
}

TEST(Heap, IsWrittenPastAnObject) {
    const auto memory = new char[size];
    const_cast<Memory>(memory)[size] = 1;
    delete[] memory;
}

TEST(Heap, IsWrittenAheadOfMemory) {
    const Memory memory = Allocated();
    memory[-1] = 1;
    Release(memory);
}

TEST(Heap, IsWrittenToAfterTheRelease) {
    const Memory memory = Allocated();
    Release(memory);
    memory[size / 2] = 1;
}

TEST(Heap, IsGivenMemoryTwice) {
    const Memory memory = Allocated();
    Release(memory);
    Release(memory);
}

} // namespace
} // namespace keyreap
