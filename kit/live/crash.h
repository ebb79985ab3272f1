#pragma once

#include <windows.h>

namespace keyreap {

// The filter of unhandled exceptions: ends the process with the exception's code, without a box and without a
// debugger, which would wait for somebody.
LONG WINAPI EndAtException(EXCEPTION_POINTERS* exception);

} // namespace keyreap
