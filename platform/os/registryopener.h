#pragma once

#include "platform/os/ownedhandle.h"

// Opening, creating and deleting a registry key. All return the system's Win32 status. Only status 0 replaces
// `key` and closes its former handle; any other status leaves it untouched, so a failed call never costs a
// working key. The program's own keys are found under their names on every host (ownkeys.h).
namespace keyreap {

// Opens the existing `subkey` of `parent`, an open key or a predefined root.
LSTATUS OpenRegistryKey(HKEY parent, const wchar_t* subkey, REGSAM access, OwnedRegistryKey& key);

// Opens `subkey` of `parent`, or creates it with all missing keys above it. New keys are non-volatile.
LSTATUS CreateRegistryKey(HKEY parent, const wchar_t* subkey, REGSAM access, OwnedRegistryKey& key);

// Deletes the childless `subkey` of `parent`.
LSTATUS DeleteRegistryKey(HKEY parent, const wchar_t* subkey);

// RegDeleteKeyExW, as winreg.h declares it; some systems lack it.
using DeleteKeyExFunction = LSTATUS(WINAPI*)(HKEY, LPCWSTR, REGSAM, DWORD);

} // namespace keyreap
