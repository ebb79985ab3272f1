#pragma once

#include <windows.h>

namespace keyreap {

// The function `name` that a module exports, as the pointer type that its published header declares; null if
// the module is null or lacks it.
template <typename Function>
Function FindEntryPoint(HMODULE module, const char* name) {
    return module ? reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)))
                  : nullptr;
}

} // namespace keyreap
