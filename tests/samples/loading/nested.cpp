// Has the library that it is linked with, but that one can't load.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

extern "C" __declspec(dllimport) DWORD MiddleNumber();

STDAPI DllRegisterServer() {
    keyreap::samples::KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Nested").SetDword(L"", MiddleNumber());
    return S_OK;
}
