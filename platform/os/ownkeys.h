#pragma once

#include <windows.h>

// The keys that the program has for itself: HKEY_CURRENT_USER\Software\Velmoro and all below, the temporary
// tree among them.
//
// Wine sends the path of a 32-bit process through any key that has a child Wow6432Node; Windows does so only
// where the two views of the registry part, which is nowhere among these keys. A server may write a
// Wow6432Node into the temporary tree like any other name. Under Wine the program therefore names its own
// keys in the 64-bit view, in which every name is taken as it stands.
namespace keyreap {

// What a 32-bit program under Wine must add to the access with which `subkey` of `parent`, an open key or a
// predefined root, is opened, made or deleted: KEY_WOW64_64KEY for one of the own keys. 0 for any other key,
// and on every other host.
REGSAM ViewOfOwnKey(HKEY parent, const wchar_t* subkey);

} // namespace keyreap
