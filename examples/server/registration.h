#pragma once

#include <windows.h>

#include <string>

namespace keyreap::examples {

// The registry entries of a COM class.
struct ClassEntry {
    std::wstring classId;
    std::wstring libraryId;
    std::wstring progId;
    std::wstring title;
    // InprocServer32 or LocalServer32, what it names, and the threading model, if it has one.
    std::wstring serverKey;
    std::wstring server;
    std::wstring threadingModel;
};

// Writes the class, its ProgID and the module's type library. Returns the first failure.
HRESULT RegisterServer(const ClassEntry& entry);

// Removes everything that RegisterServer writes.
HRESULT UnregisterServer(const ClassEntry& entry);

} // namespace keyreap::examples
