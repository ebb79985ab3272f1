// Can't be loaded without the library that it is linked with.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

extern "C" __declspec(dllimport) DWORD LibraryNumber();

STDAPI DllRegisterServer() {
    keyreap::samples::KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Dependent").SetDword(L"", LibraryNumber());
    return S_OK;
}
