#pragma once

#include "platform/os/ownedhandle.h"

// The plain ways to a registry key. Both give the system's Win32 status. Only status 0 replaces `key`, and
// closes what it held before; any other leaves it untouched, so a failed call never costs a working key.
namespace keyreap {

// Opens the existing `subkey` of `parent`, an open key or a predefined root.
LSTATUS OpenRegistryKey(HKEY parent, const wchar_t* subkey, REGSAM access, OwnedRegistryKey& key);

// Opens `subkey` of `parent`, or makes it, non-volatile and with all the keys on the way to it.
LSTATUS CreateRegistryKey(HKEY parent, const wchar_t* subkey, REGSAM access, OwnedRegistryKey& key);

} // namespace keyreap
