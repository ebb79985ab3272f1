#pragma once

#include "platform/os/owned.h"

#include <windows.h>

namespace keyreap {

struct IconPolicy {
    using Handle = HICON;
    static Handle Empty() { return nullptr; }
    static bool IsValid(Handle handle) { return handle != nullptr; }
    static void Close(Handle handle) { DestroyIcon(handle); }
};

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
    Owned<IconPolicy> scaled;
};

} // namespace keyreap
