#pragma once

#include <windows.h>

namespace keyreap::testsupport {

// RtlCaptureContext captures its caller on x64, but the caller of its caller on x86.
inline void WINAPI CaptureCaller(CONTEXT* context) {
    RtlCaptureContext(context);
    // Without work after the call it would be a jump without a frame.
    static_cast<void>(*static_cast<volatile DWORD*>(&context->ContextFlags));
}

// Captures the processor context of the function that calls it. A pointer, so that no call is merged into
// another.
inline void(WINAPI* volatile captureThisFunction)(CONTEXT* context) = sizeof(void*) == 8 ? RtlCaptureContext
                                                                                         : CaptureCaller;

} // namespace keyreap::testsupport
