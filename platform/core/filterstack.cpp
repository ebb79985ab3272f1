#include "platform/core/filterstack.h"

#include <windows.h>

namespace keyreap {

namespace {

// Reading debug information and showing a dialog take some tens of kilobytes.
constexpr ULONG keptBytes = 128 * 1024;

MEMORY_BASIC_INFORMATION MemoryAt(const void* address) {
    MEMORY_BASIC_INFORMATION memory = {};
    VirtualQuery(address, &memory, sizeof(memory));
    return memory;
}

DWORD PageSize() {
    SYSTEM_INFO system = {};
    GetSystemInfo(&system);
    return system.dwPageSize;
}

// Wine commits a stack whole and puts its guard page at the bottom for good, where the guarantee comes too
// late; it honours one that stands higher. On Windows the guard page moves down with the stack, and none is
// found here.
void RaiseFixedGuardPage() {
    const DWORD pageSize = PageSize();
    char* const bottom = static_cast<char*>(MemoryAt(&pageSize).AllocationBase);
    const MEMORY_BASIC_INFORMATION second = MemoryAt(bottom + pageSize);
    if (second.State == MEM_COMMIT && (second.Protect & PAGE_GUARD) != 0) {
        DWORD previous = 0;
        VirtualProtect(bottom + keptBytes, pageSize, PAGE_READWRITE | PAGE_GUARD, &previous);
    }
}

} // namespace

bool KeepStackForFilter() {
    ULONG bytes = keptBytes;
    if (!SetThreadStackGuarantee(&bytes)) {
        return false;
    }
    RaiseFixedGuardPage();
    return true;
}

} // namespace keyreap
