#pragma once

#include "platform/os/ownedhandle.h"

// The plain ways to a registry key. All give the system's Win32 status. Only status 0 replaces `key`, and
// closes what it held before; any other leaves it untouched, so a failed call never costs a working key.
// The program's own keys are found by the names that they have, whatever the host (ownkeys.h).
namespace keyreap {

// Opens the existing `subkey` of `parent`, an open key or a predefined root.
LSTATUS OpenRegistryKey(HKEY parent, const wchar_t* subkey, REGSAM access, OwnedRegistryKey& key);

// Opens `subkey` of `parent`, or makes it, non-volatile and with all the keys on the way to it.
LSTATUS CreateRegistryKey(HKEY parent, const wchar_t* subkey, REGSAM access, OwnedRegistryKey& key);

// Deletes the childless `subkey` of `parent`.
LSTATUS DeleteRegistryKey(HKEY parent, const wchar_t* subkey);

// RegDeleteKeyExW, as winreg.h declares it; not on every system.
using DeleteKeyExFunction = LSTATUS(WINAPI*)(HKEY, LPCWSTR, REGSAM, DWORD);

} // namespace keyreap
