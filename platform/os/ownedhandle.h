#pragma once

#include "platform/os/owned.h"

#include <windows.h>

// The owners of the system's handles, one for each kind.
namespace keyreap {

inline constexpr std::intptr_t invalidHandle = -1; // INVALID_HANDLE_VALUE

// A process, a thread, an event, a file mapping: handles that are null if there is none.
using OwnedHandle = Owned<ClosedBy<HANDLE, CloseHandle>>;

// A file from CreateFileW.
using OwnedFile = Owned<ClosedBy<HANDLE, CloseHandle, invalidHandle>>;

// A search from FindFirstFileW.
using OwnedFindHandle = Owned<ClosedBy<HANDLE, FindClose, invalidHandle>>;

// The start of a view from MapViewOfFile.
using OwnedMappedView = Owned<ClosedBy<const void*, UnmapViewOfFile>>;

// A module from LoadLibraryW or LoadLibraryExW.
using OwnedModule = Owned<ClosedBy<HMODULE, FreeLibrary>>;

// An open registry key.
using OwnedRegistryKey = Owned<ClosedBy<HKEY, RegCloseKey>>;

} // namespace keyreap
