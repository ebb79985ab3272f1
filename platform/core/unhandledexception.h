#pragma once

#include <windows.h>

namespace keyreap {

// Shows a failure that nobody handled. Returns EXCEPTION_EXECUTE_HANDLER, so that the process ends without
// another dialog of the system; for null pointers it shows nothing. For a C++ exception of this program's
// compiler it doesn't return, but ends the process with that exception's code. It also doesn't return if
// showing a failure fails and the system calls the filter again: the process ends with the code of the first
// failure.
LONG WINAPI OnUnhandledException(EXCEPTION_POINTERS* pointers);

// Reserves stack of the calling thread for the filter to run on after an overflow. The first call also makes
// OnUnhandledException the process-wide filter, for uncaught C++ exceptions too.
void InstallUnhandledExceptionFilter();

} // namespace keyreap
