// Is linked with a library that exists but can't be loaded.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

extern "C" __declspec(dllimport) DWORD MiddleNumber();

STDAPI DllRegisterServer() {
    keyreap::samples::KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Nested").SetDword(L"", MiddleNumber());
    return S_OK;
}
