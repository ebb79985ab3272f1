#pragma once

#include <windows.h>

// The program's own keys: HKEY_CURRENT_USER\Software\Velmoro and everything below it, which includes the
// temporary tree.
//
// In a 32-bit process, Wine redirects a path at any key that has a child Wow6432Node. Windows does so only
// where the two views of the registry differ, which is nowhere among these keys. A server may write a
// Wow6432Node into the temporary tree like any other name. Under Wine the program therefore names its own
// keys in the 64-bit view, in which every name is taken literally.
namespace keyreap {

// What must be added to the access with which `subkey` of `parent`, an open key or a predefined root, is
// opened, created or deleted: KEY_WOW64_64KEY for one of the program's own keys in a 32-bit program under
// Wine, else 0.
REGSAM ViewOfOwnKey(HKEY parent, const wchar_t* subkey);

} // namespace keyreap
