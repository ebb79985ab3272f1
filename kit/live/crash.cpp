#include "kit/live/crash.h"

namespace keyreap {

LONG WINAPI EndAtException(EXCEPTION_POINTERS* exception) {
    TerminateProcess(GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

} // namespace keyreap
