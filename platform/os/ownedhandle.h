#pragma once

#include "platform/os/owned.h"

#include <windows.h>

// The owners of the system's handles, one for each kind.
namespace keyreap {

struct KernelHandlePolicy {
    using Handle = HANDLE;
    static Handle Empty() { return nullptr; }
    static bool IsValid(Handle handle) { return handle != nullptr; }
    static void Close(Handle handle) { CloseHandle(handle); }
};

struct FilePolicy {
    using Handle = HANDLE;
    static Handle Empty() { return INVALID_HANDLE_VALUE; }
    static bool IsValid(Handle handle) { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }
    static void Close(Handle handle) { CloseHandle(handle); }
};

struct FindHandlePolicy {
    using Handle = HANDLE;
    static Handle Empty() { return INVALID_HANDLE_VALUE; }
    static bool IsValid(Handle handle) { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }
    static void Close(Handle handle) { FindClose(handle); }
};

struct MappedViewPolicy {
    using Handle = const void*;
    static Handle Empty() { return nullptr; }
    static bool IsValid(Handle handle) { return handle != nullptr; }
    static void Close(Handle handle) { UnmapViewOfFile(handle); }
};

struct ModulePolicy {
    using Handle = HMODULE;
    static Handle Empty() { return nullptr; }
    static bool IsValid(Handle handle) { return handle != nullptr; }
    static void Close(Handle handle) { FreeLibrary(handle); }
};

struct RegistryKeyPolicy {
    using Handle = HKEY;
    static Handle Empty() { return nullptr; }
    static bool IsValid(Handle handle) { return handle != nullptr; }
    static void Close(Handle handle) { RegCloseKey(handle); }
};

// A process, a thread, an event, a file mapping: whatever null stands for none and CloseHandle closes.
using OwnedHandle = Owned<KernelHandlePolicy>;

// A file from CreateFileW, whose failure is INVALID_HANDLE_VALUE.
using OwnedFile = Owned<FilePolicy>;

// A search from FindFirstFileW.
using OwnedFindHandle = Owned<FindHandlePolicy>;

// The start of a view from MapViewOfFile.
using OwnedMappedView = Owned<MappedViewPolicy>;

// A module from LoadLibraryW or LoadLibraryExW.
using OwnedModule = Owned<ModulePolicy>;

// An open registry key.
using OwnedRegistryKey = Owned<RegistryKeyPolicy>;

} // namespace keyreap
