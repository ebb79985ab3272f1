// Is linked with a library that has one function more than the one in its folder.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

extern "C" __declspec(dllimport) DWORD LibraryNumber();
extern "C" __declspec(dllimport) DWORD LaterNumber();

STDAPI DllRegisterServer() {
    keyreap::samples::KeyWriter key(HKEY_CLASSES_ROOT, L"Keyreap.Lacking");
    key.SetDword(L"", LibraryNumber());
    key.SetDword(L"later", LaterNumber());
    return S_OK;
}
