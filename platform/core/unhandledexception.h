#pragma once

#include <windows.h>

namespace keyreap {

// Shows the failure that nobody handled and lets the process end without another dialog of the system: gives
// EXCEPTION_EXECUTE_HANDLER. For null pointers it shows nothing. Never returns for a C++ exception of this
// program's compiler, but ends the process with that exception's code itself, and so does a failure of the
// showing, with the code of the failure that was to be shown where the system asks the filter again.
LONG WINAPI OnUnhandledException(EXCEPTION_POINTERS* pointers);

// For the calling thread, keeps stack for the filter to run on after an overflow. In its first call also
// makes OnUnhandledException the process-wide filter, and what a C++ exception that nobody catches ends in.
void InstallUnhandledExceptionFilter();

} // namespace keyreap
