// For the build that counts lines: a process writes its counters when it exits, but not when it is
// terminated, as after a fault. The linker replaces the system's two functions by the functions here.
#include <windows.h>

// This header is one of C.
extern "C" {
#include <gcov.h>
}

namespace {

using TerminateProcessEntry = BOOL(WINAPI*)(HANDLE process, UINT status);
using SetFilterEntry = LPTOP_LEVEL_EXCEPTION_FILTER(WINAPI*)(LPTOP_LEVEL_EXCEPTION_FILTER filter);

// The places where the import library keeps the functions' addresses.
#if defined(_WIN64)
extern "C" TerminateProcessEntry systemTerminate __asm__("__real___imp_TerminateProcess");
extern "C" SetFilterEntry systemSetFilter __asm__("__real___imp_SetUnhandledExceptionFilter");
#else
extern "C" TerminateProcessEntry systemTerminate __asm__("___real__imp__TerminateProcess@8");
extern "C" SetFilterEntry systemSetFilter __asm__("___real__imp__SetUnhandledExceptionFilter@4");
#endif

LPTOP_LEVEL_EXCEPTION_FILTER programFilter = nullptr;

BOOL WINAPI TerminateKeepingCounters(HANDLE process, UINT status) {
    if (process == GetCurrentProcess()) {
        __gcov_dump();
    }
    return systemTerminate(process, status);
}

LONG WINAPI FilterKeepingCounters(EXCEPTION_POINTERS* pointers) {
    const LONG answer = programFilter(pointers);
    __gcov_dump();
    return answer;
}

LPTOP_LEVEL_EXCEPTION_FILTER WINAPI SetFilterKeepingCounters(LPTOP_LEVEL_EXCEPTION_FILTER filter) {
    const LPTOP_LEVEL_EXCEPTION_FILTER previous = programFilter;
    programFilter = filter;
    systemSetFilter(filter ? FilterKeepingCounters : nullptr);
    return previous;
}

} // namespace

#if defined(_WIN64)
extern "C" TerminateProcessEntry terminateInstead __asm__("__wrap___imp_TerminateProcess");
extern "C" SetFilterEntry setFilterInstead __asm__("__wrap___imp_SetUnhandledExceptionFilter");
#else
extern "C" TerminateProcessEntry terminateInstead __asm__("___wrap__imp__TerminateProcess@8");
extern "C" SetFilterEntry setFilterInstead __asm__("___wrap__imp__SetUnhandledExceptionFilter@4");
#endif
TerminateProcessEntry terminateInstead = TerminateKeepingCounters;
SetFilterEntry setFilterInstead = SetFilterKeepingCounters;

extern "C" [[noreturn]] void __real_abort();

extern "C" [[noreturn]] void __wrap_abort() {
    __gcov_dump();
    __real_abort();
}
