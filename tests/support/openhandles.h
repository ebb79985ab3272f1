#pragma once

#include <windows.h>

namespace keyreap::testsupport {

// The number of handles that this process has open. Under Wine the system's own count is always 0, so each
// number that a handle of a small process can have is tried. Needs no C++ library.
inline int CountOpenHandles() {
    constexpr ULONG_PTR step = 4;
    constexpr ULONG_PTR last = 0x400;
    int count = 0;
    for (ULONG_PTR number = step; number <= last; number += step) {
        DWORD flags = 0;
        count += GetHandleInformation(reinterpret_cast<HANDLE>(number), &flags) ? 1 : 0;
    }
    return count;
}

} // namespace keyreap::testsupport
