// Closes every handle of its process, including those of the program.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

STDAPI DllRegisterServer() {
    constexpr ULONG_PTR step = 4;
    constexpr ULONG_PTR last = 0x2000;
    keyreap::samples::KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Handles").SetText(L"", L"written");
    for (ULONG_PTR number = step; number <= last; number += step) {
        CloseHandle(reinterpret_cast<HANDLE>(number));
    }
    return S_OK;
}
