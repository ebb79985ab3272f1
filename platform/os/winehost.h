#pragma once

#include "platform/os/entrypoint.h"

namespace keyreap {

// Whether the host is Wine: only its ntdll.dll exports wine_get_version.
inline bool RunsOnWine() {
    return FindEntryPoint<FARPROC>(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

} // namespace keyreap
