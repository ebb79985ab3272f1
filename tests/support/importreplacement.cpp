#include "tests/support/importreplacement.h"

#include <gtest/gtest.h>

#include <string_view>

namespace keyreap::testsupport {

namespace {

// A place in this program's image, as the loader has laid it out.
template <typename Part>
Part* InImage(DWORD rva) {
    return reinterpret_cast<Part*>(reinterpret_cast<ULONG_PTR>(GetModuleHandleW(nullptr)) + rva);
}

const IMAGE_IMPORT_DESCRIPTOR* FirstImportDescriptor() {
    const auto* dos = InImage<const IMAGE_DOS_HEADER>(0);
    const auto* nt = InImage<const IMAGE_NT_HEADERS>(static_cast<DWORD>(dos->e_lfanew));
    return InImage<const IMAGE_IMPORT_DESCRIPTOR>(
        nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
}

// Where the image keeps the address of a function that it imports by name; null if it doesn't import it.
const void** ImportSlot(std::string_view name) {
    for (const auto* dll = FirstImportDescriptor(); dll->Name != 0; ++dll) {
        const auto* names = InImage<const IMAGE_THUNK_DATA>(dll->OriginalFirstThunk);
        auto* slots = InImage<const void*>(dll->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++slots) {
            if (!IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal) &&
                InImage<const IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(names->u1.AddressOfData))->Name ==
                    name) {
                return slots;
            }
        }
    }
    return nullptr;
}

void Write(const void** slot, const void* value) {
    DWORD before = 0;
    VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &before);
    *slot = value;
    VirtualProtect(slot, sizeof(*slot), before, &before);
}

} // namespace

ImportReplacement::ImportReplacement(const char* name, const void* replacement) : slot(ImportSlot(name)) {
    EXPECT_NE(slot, nullptr) << "this program does not import " << name;
    if (slot) {
        original = *slot;
        Write(slot, replacement);
    }
}

ImportReplacement::~ImportReplacement() {
    if (slot) {
        Write(slot, original);
    }
}

} // namespace keyreap::testsupport
