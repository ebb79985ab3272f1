#pragma once

#include <windows.h>

namespace keyreap {

// Of a loaded module. Like the tables that they lead to, they are followed unchecked: the loader has been
// through them. Windows only.
const IMAGE_NT_HEADERS& ImageHeaders(HMODULE module);

// Where a loaded module keeps the address of a function that it imports by name from this DLL; null if it
// imports no such function.
FARPROC* FindImportSlot(HMODULE module, const char* dll, const char* function);

// Puts another function's address there, under the protection that the page had before. False if that is
// refused.
bool WriteImportSlot(FARPROC* slot, FARPROC function);

} // namespace keyreap
