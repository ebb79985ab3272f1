#pragma once

#include <windows.h>

namespace keyreap::samples {

// The process's error mode without the flag for misaligned data, which opens no box. GoogleTest sets that
// flag. On Windows it can't be cleared again, and every child inherits it.
inline DWORD BoxesInErrorMode() {
    return GetErrorMode() & ~static_cast<UINT>(SEM_NOALIGNMENTFAULTEXCEPT);
}

} // namespace keyreap::samples
