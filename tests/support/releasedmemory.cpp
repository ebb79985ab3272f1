#include "tests/support/releasedmemory.h"

#include <windows.h>

#include <malloc.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <utility>

namespace keyreap::testsupport {

namespace {

constexpr char pattern = '\xDD';

// Memory that the program has released but the heap still owns, filled with the pattern.
struct Released {
    char* memory = nullptr;
    std::size_t size = 0;
};

constexpr std::size_t mostKept = 1024;
constexpr std::size_t mostBytes = 65536; // of one piece

// Not a container that would allocate or release memory.
std::array<Released, mostKept> kept;
std::size_t oldest = 0;
SRWLOCK lock = SRWLOCK_INIT;
std::atomic<bool> isDamaged{false};

HANDLE Heap() {
    return reinterpret_cast<HANDLE>(_get_heap_handle());
}

bool IsFilled(const Released& piece) {
    return std::all_of(piece.memory, piece.memory + piece.size, [](char byte) { return byte == pattern; });
}

bool IsKept(const Released& piece) {
    return IsFilled(piece) && std::any_of(kept.begin(), kept.end(), [&](const Released& other) {
               return other.memory == piece.memory;
           });
}

// Returns the piece whose place it takes.
Released Keep(const Released& piece) {
    std::memset(piece.memory, pattern, piece.size);
    const Released former = std::exchange(kept[oldest], piece);
    oldest = (oldest + 1) % mostKept;
    return former;
}

void GiveBack(const Released& piece) {
    if (piece.memory != nullptr && !(IsFilled(piece) && HeapFree(Heap(), 0, piece.memory))) {
        isDamaged = true;
    }
}

} // namespace

void ReleaseChecked(void* memory) {
    if (memory == nullptr) {
        return;
    }
    if (!HeapValidate(Heap(), 0, memory)) {
        isDamaged = true; // the piece is not touched again
        return;
    }
    const Released piece{static_cast<char*>(memory), HeapSize(Heap(), 0, memory)};
    if (piece.size > mostBytes) {
        HeapFree(Heap(), 0, memory);
        return;
    }
    AcquireSRWLockExclusive(&lock);
    const bool isReleasedTwice = IsKept(piece);
    const Released former = isReleasedTwice ? Released() : Keep(piece);
    ReleaseSRWLockExclusive(&lock);
    isDamaged = isDamaged || isReleasedTwice;
    GiveBack(former);
}

void CheckMemory(void* memory) {
    if (memory != nullptr && !HeapValidate(Heap(), 0, memory)) {
        isDamaged = true;
    }
}

bool TakeDamage() {
    AcquireSRWLockShared(&lock);
    const bool isUntouched = std::all_of(kept.begin(), kept.end(), IsFilled);
    ReleaseSRWLockShared(&lock);
    return isDamaged.exchange(false) || !isUntouched;
}

} // namespace keyreap::testsupport
