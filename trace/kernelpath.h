#pragma once

#include "trace/predefinedroot.h"

#include <string>
#include <string_view>

// The kernel's names of registry keys, told in the terms of the ordinary registry API.
namespace keyreap {

// Turns a kernel path (`\REGISTRY\MACHINE\...`) into a predefined root and the path below it, without the
// first "Wow6432Node". `root` becomes noRoot where the path names none of the four. With `classesAsRoot`,
// class registrations of the machine and of any user come out under HKEY_CLASSES_ROOT. False for a name that
// is no kernel path: `normalized` is then empty and `root` untouched.
bool NormalizeKernelPath(std::wstring_view path, bool classesAsRoot, PredefinedRoot& root,
                         std::wstring& normalized);

// Erases the first occurrence of `component`, letter case respected, with the backslash ahead of it or, if
// there is none, the one behind it. True if there was something to remove.
bool RemovePathComponent(std::wstring& path, std::wstring_view component);

} // namespace keyreap
