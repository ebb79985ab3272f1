#pragma once

#include <windows.h>

#include <objbase.h>

#include <atomic>
#include <span>
#include <string>

namespace keyreap::checked {

// A class that a server has. `make` gives an instance with one reference, or null if there is no memory.
// Without `make` the class can be registered, but it can't be created.
struct ServedClass {
    using Maker = IUnknown* (*)(const CLSID& id);

    CLSID id;
    const wchar_t* name;
    const wchar_t* progId;
    const wchar_t* threadingModel;
    Maker make;
};

// The classes of the server: what its exported functions are about. Every server defines this.
std::span<const ServedClass> ServedClasses();

// An instance that knows only which class it is of.
IUnknown* MakePlainObject(const CLSID& id);

// What keeps the module loaded: its objects, each of which counts its references.
class Counted {
public:
    Counted();
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    // The number of references afterwards.
    ULONG Increment() { return ++references; }
    ULONG Decrement() { return --references; }

protected:
    ~Counted();

private:
    std::atomic<ULONG> references = 1;
};

// The full path of this module, and the folder that it is in, without a backslash.
std::wstring ModulePath();
std::wstring ModuleFolder();

// "{...}", and the class's key below HKEY_CLASSES_ROOT.
std::wstring TextOf(const GUID& id);
std::wstring KeyOf(const ServedClass& served);

// Writes and removes keys below a root. The first failure is kept, and nothing is done after it. Removing
// what isn't there succeeds. Keys are named by their paths, to which `prefix` is added; a null name is that
// of the default value.
class Entries {
public:
    explicit Entries(HKEY root, std::wstring prefix = L"", REGSAM view = 0)
        : root(root), prefix(std::move(prefix)), view(view) {}

    void SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text, DWORD type = REG_SZ);
    void SetNumber(const std::wstring& key, const wchar_t* name, DWORD number);
    void SetData(const std::wstring& key, const wchar_t* name, DWORD type, const void* data,
                 std::size_t size);
    void CreateKey(const std::wstring& key);

    void RemoveTree(const std::wstring& key);
    // Removes a key that others may have subkeys in; with one it stays.
    void RemoveUnlessUsed(const std::wstring& key);

    HRESULT Result() const { return HRESULT_FROM_WIN32(static_cast<DWORD>(status)); }

private:
    void Keep(LSTATUS result);
    // Null after a failure.
    HKEY Created(const std::wstring& key);

    HKEY root;
    std::wstring prefix;
    REGSAM view;
    LSTATUS status = ERROR_SUCCESS;
};

// The class's key with the module's path.
void RegisterPath(Entries& entries, const ServedClass& served);
// The threading model, and the ProgID with its reference back.
void RegisterModelAndProgId(Entries& entries, const ServedClass& served);
// Both of the above.
void RegisterClass(Entries& entries, const ServedClass& served);
void UnregisterClass(Entries& entries, const ServedClass& served);

// The same for all classes, below HKEY_CLASSES_ROOT.
HRESULT RegisterClasses();
HRESULT UnregisterClasses();

} // namespace keyreap::checked
