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

bool IsGuardPage(const void* address) {
    const MEMORY_BASIC_INFORMATION memory = MemoryAt(address);
    return memory.State == MEM_COMMIT && (memory.Protect & PAGE_GUARD) != 0;
}

// Wine commits a stack whole and keeps its guard page at the bottom, where the guarantee comes too late; it
// honours a guard page at a higher address. On Windows the guard page moves down with the stack, so the
// bottom has none.
void RaiseFixedGuardPage() {
    const DWORD pageSize = PageSize();
    const auto* const used = reinterpret_cast<const char*>(&pageSize);
    char* const bottom = static_cast<char*>(MemoryAt(used).AllocationBase);
    char* const raised = bottom + keptBytes;
    if (IsGuardPage(bottom + pageSize) && raised + pageSize < used) {
        DWORD previous = 0;
        VirtualProtect(raised, pageSize, PAGE_READWRITE | PAGE_GUARD, &previous);
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
