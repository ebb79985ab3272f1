#pragma once

#include "platform/os/ownedhandle.h"
#include "platform/os/registryopener.h"
#include "regfile/valuetext.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// An owned registry key that remembers the root, path and access with which it was opened, so that a child
// can be opened from the root even when the parent isn't open. Construction never fails: a key that couldn't
// be opened has no handle, and every operation on it gives ERROR_INVALID_HANDLE. A failed registry call never
// throws; operations return the Win32 status. One thread at a time.
class RegKey {
public:
    // Access rights, as in winnt.h.
    static constexpr std::uint32_t readAccess = 0x20019;      // KEY_READ
    static constexpr std::uint32_t readWriteAccess = 0x2001F; // KEY_READ | KEY_WRITE
    static constexpr std::uint32_t fullAccess = 0xF003F;      // KEY_ALL_ACCESS
    static constexpr std::uint32_t viewMask = 0x300;          // KEY_WOW64_64KEY | KEY_WOW64_32KEY

    // A closed key without root or path, to be opened with Open or Create.
    RegKey() = default;

    // Opens `path` under the predefined `root`.
    RegKey(std::wstring_view keyPath, HKEY predefinedRoot, bool writable);

    // Opens a subkey of any open handle or root; Create also creates a missing one (not volatile). On success
    // this object owns that key and has closed its old one; on failure it is unchanged.
    LSTATUS Open(HKEY parent, const std::wstring& subkey, std::uint32_t wantedAccess);
    LSTATUS Create(HKEY parent, const std::wstring& subkey, std::uint32_t wantedAccess);

    // If the key isn't open, opens or creates it and its parents from the root, with full access.
    void CreateIfMissing();

    // A child, opened from the root: OpenChild gives a read-only one, CreateChild a writable one, which it
    // creates if it is missing.
    RegKey OpenChild(std::wstring_view name) const;
    RegKey CreateChild(std::wstring_view name) const;

    void Close();

    // Deletes one childless subkey, in the view in which this key was opened.
    LSTATUS DeleteKey(const std::wstring& name) const;

    // Deletes a subkey with its subtree, depth first. Stops at the first key that can't be deleted.
    LSTATUS DeleteSubtree(const std::wstring& name) const;

    // Deletes every subkey; the key itself and its values stay. Failures are ignored.
    void ClearSubkeys() const;

    // The subkeys' names, in the system's order. Any failure ends the list without an error.
    std::vector<std::wstring> EnumSubkeys() const;

    // One value by its index. False after the last one and on any failure. `text` gets the data as
    // HarvestValueText converts it: it stays unchanged for types without a text of their own.
    bool EnumValue(std::uint32_t index, std::wstring& name, ValueText& text, std::uint32_t& type) const;

    HKEY Handle() const { return handle.Get(); }
    std::uint32_t ViewFlags() const { return viewFlags; }
    const std::wstring& Path() const { return path; }
    const std::wstring& FullName() const { return fullName; }
    std::uint32_t Access() const { return access; }

private:
    std::wstring ChildPath(std::wstring_view name) const;

    OwnedRegistryKey handle;
    std::uint32_t viewFlags = 0; // of the access with which `handle` was opened; 0 when closed
    std::wstring path;           // as given, including a trailing backslash
    std::wstring fullName;       // the root's name and the path, without a trailing backslash
    HKEY root = nullptr;
    std::uint32_t access = readAccess;
};

// The name of a predefined root; empty for any other handle.
std::wstring RootName(HKEY root);

// Deletes the key `path` under `root` and then its parents, upwards, until the system refuses: it refuses to
// delete a parent with another child, but not one with values. False if the key itself stays.
bool DeleteEmptyKeyChain(HKEY root, std::wstring_view path);

// Calls `deleteKeyEx`, with the view that `flags` name, or RegDeleteKeyW, without a view, if that is null.
LSTATUS DeleteKeyThrough(DeleteKeyExFunction deleteKeyEx, HKEY parent, const std::wstring& name,
                         std::uint32_t flags);

} // namespace keyreap
