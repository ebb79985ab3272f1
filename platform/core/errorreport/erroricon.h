#pragma once

#include "platform/os/owned.h"

#include <windows.h>

namespace keyreap {

// The system's error icon in its large size.
class ErrorIcon {
public:
    // The library that scales, by name or path. A library that is missing or lacks the entry point is not
    // used.
    explicit ErrorIcon(const wchar_t* library = L"ComCtl32.dll") : library(library) {}

    // Prefers the icon that the common controls scale for the screen. Null if the system has no icon at all.
    HICON Load();

private:
    const wchar_t* library;
    Owned<ClosedBy<HICON, DestroyIcon>> scaled;
};

} // namespace keyreap
