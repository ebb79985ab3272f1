// Causes an access violation that its own handler repairs, and throws and catches exceptions. With
// KEYREAP_ENDS it then ends the process with the low bits of the fault's code.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

#include <stdexcept>

namespace {

constexpr SIZE_T pageSize = 4096;
[[maybe_unused]] constexpr UINT lowBitsOfAccessViolation = 5;

// Makes the page writable, so that the write is repeated and succeeds.
LONG CALLBACK OpenPage(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    DWORD before = 0;
    if (record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION ||
        !VirtualProtect(reinterpret_cast<void*>(record.ExceptionInformation[1]), pageSize, PAGE_READWRITE,
                        &before)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    return EXCEPTION_CONTINUE_EXECUTION;
}

void ThrowAndCatch() {
    try {
        throw std::runtime_error("somebody catches this");
    } catch (const std::exception&) {
    }
}

} // namespace

STDAPI DllRegisterServer() {
    for (int i = 0; i < 100; ++i) {
        ThrowAndCatch();
    }
    void* handler = AddVectoredExceptionHandler(1, OpenPage);
    *static_cast<volatile int*>(VirtualAlloc(nullptr, pageSize, MEM_RESERVE | MEM_COMMIT, PAGE_READONLY)) = 1;
    RemoveVectoredExceptionHandler(handler);
    keyreap::samples::KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Caught").SetText(L"", L"went on");
#ifdef KEYREAP_ENDS
    ExitProcess(lowBitsOfAccessViolation);
#else
    return S_OK;
#endif
}
