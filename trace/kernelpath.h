#pragma once

#include "trace/predefinedroot.h"

#include <string>
#include <string_view>

// Translates the kernel's names of registry keys into those of the ordinary registry API.
namespace keyreap {

// Turns a kernel path (`\REGISTRY\MACHINE\...`) into a predefined root and the path below it, without the
// first "Wow6432Node". `root` becomes noRoot for any other kernel path, also for that of a user with a short
// SID. With `classesAsRoot`, class registrations of the machine and of any user are moved to
// HKEY_CLASSES_ROOT. False for a name that is not a kernel path: `normalized` is then empty and `root`
// unchanged.
bool NormalizeKernelPath(std::wstring_view path, bool classesAsRoot, PredefinedRoot& root,
                         std::wstring& normalized);

// True if the normalised path of a subkey is sure to be `keyPath` and `name`, below the same root. `root` and
// `keyPath` are normalised from the key's name and a backslash. False where a longer name could still change
// the root, for a key without a root, and for a name with "Wow6432Node".
bool MakesSubkeyPath(PredefinedRoot root, std::wstring_view keyPath, std::wstring_view name);

// Erases the first occurrence of `component`, case-sensitively, with the backslash before it or, if there is
// none, the one after it. True if there was an occurrence.
bool RemovePathComponent(std::wstring& path, std::wstring_view component);

} // namespace keyreap
