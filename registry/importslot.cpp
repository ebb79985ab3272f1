#include "registry/importslot.h"

#include <cstddef>
#include <cstring>

namespace keyreap {

namespace {

template <typename Structure>
Structure* At(HMODULE module, std::size_t offset) {
    return reinterpret_cast<Structure*>(reinterpret_cast<std::byte*>(module) + offset);
}

FARPROC* FindSlotOf(HMODULE module, const IMAGE_IMPORT_DESCRIPTOR& imported, const char* function) {
    if (imported.OriginalFirstThunk == 0) {
        return nullptr; // the loader has overwritten the names with addresses
    }
    const auto* name = At<const IMAGE_THUNK_DATA>(module, imported.OriginalFirstThunk);
    auto* slot = At<FARPROC>(module, imported.FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++slot) {
        if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) {
            continue;
        }
        const auto offset = static_cast<std::size_t>(name->u1.AddressOfData);
        if (std::strcmp(At<const IMAGE_IMPORT_BY_NAME>(module, offset)->Name, function) == 0) {
            return slot;
        }
    }
    return nullptr;
}

} // namespace

const IMAGE_NT_HEADERS& ImageHeaders(HMODULE module) {
    const auto* const start = At<const IMAGE_DOS_HEADER>(module, 0);
    return *At<const IMAGE_NT_HEADERS>(module, static_cast<std::size_t>(start->e_lfanew));
}

FARPROC* FindImportSlot(HMODULE module, const char* dll, const char* function) {
    const IMAGE_DATA_DIRECTORY& directory =
        ImageHeaders(module).OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (directory.VirtualAddress == 0) {
        return nullptr;
    }
    const auto* imported = At<const IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress);
    for (; imported->Name != 0; ++imported) {
        if (lstrcmpiA(At<const char>(module, imported->Name), dll) != 0) {
            continue;
        }
        if (FARPROC* const slot = FindSlotOf(module, *imported, function)) {
            return slot;
        }
    }
    return nullptr;
}

bool WriteImportSlot(FARPROC* slot, FARPROC function) {
    DWORD former = 0;
    if (!VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &former)) {
        return false;
    }
    *slot = function;
    VirtualProtect(slot, sizeof(*slot), former, &former);
    return true;
}

} // namespace keyreap
