#pragma once

#include <windows.h>

namespace keyreap {

// The headers of a loaded module. They and the tables that they point to are read without checks, because the
// loader has checked them. Windows only.
const IMAGE_NT_HEADERS& ImageHeaders(HMODULE module);

// The slot in which a loaded module keeps the address of a function that it imports by name from this DLL;
// null if it doesn't import the function.
FARPROC* FindImportSlot(HMODULE module, const char* dll, const char* function);

// Writes another function's address to the slot, and then restores the protection of its page. False if the
// system refuses.
bool WriteImportSlot(FARPROC* slot, FARPROC function);

} // namespace keyreap
