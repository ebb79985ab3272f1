#include "tests/support/livememory.h"

#include <windows.h>

#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <unordered_set>

namespace keyreap::testsupport {

namespace {

// Guards all below. The library's guard of a static object may itself allocate memory.
SRWLOCK lock = SRWLOCK_INIT;

HANDLE OwnHeap() {
    static constinit HANDLE heap = nullptr;
    if (heap == nullptr) {
        heap = HeapCreate(0, 0, 0);
    }
    return heap;
}

// Memory of a heap of its own, so that the list of pieces isn't in the list.
template <typename Element>
struct OwnHeapAllocator {
    using value_type = Element;

    OwnHeapAllocator() = default;
    template <typename Other>
    explicit OwnHeapAllocator(const OwnHeapAllocator<Other>&) {}

    Element* allocate(std::size_t count) {
        void* const memory = HeapAlloc(OwnHeap(), 0, count * sizeof(Element));
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return static_cast<Element*>(memory);
    }
    void deallocate(Element* memory, std::size_t) { HeapFree(OwnHeap(), 0, memory); }

    bool operator==(const OwnHeapAllocator&) const { return true; }
};

using Pieces = std::unordered_set<void*, std::hash<void*>, std::equal_to<>, OwnHeapAllocator<void*>>;

// Never destroyed: memory is released until the process ends.
Pieces& Live() {
    alignas(Pieces) static constinit std::byte storage[sizeof(Pieces)]{};
    static constinit Pieces* pieces = nullptr;
    if (pieces == nullptr) {
        pieces = std::construct_at(reinterpret_cast<Pieces*>(storage));
    }
    return *pieces;
}

} // namespace

void AddLiveMemory(void* memory) {
    if (memory != nullptr) {
        AcquireSRWLockExclusive(&lock);
        Live().insert(memory);
        ReleaseSRWLockExclusive(&lock);
    }
}

void RemoveLiveMemory(void* memory) {
    AcquireSRWLockExclusive(&lock);
    Live().erase(memory);
    ReleaseSRWLockExclusive(&lock);
}

bool IsLiveMemoryWhole() {
    const auto heap = reinterpret_cast<HANDLE>(_get_heap_handle());
    AcquireSRWLockExclusive(&lock);
    const bool isWhole = std::all_of(Live().begin(), Live().end(),
                                     [heap](void* memory) { return HeapValidate(heap, 0, memory) != FALSE; });
    ReleaseSRWLockExclusive(&lock);
    return isWhole;
}

} // namespace keyreap::testsupport
