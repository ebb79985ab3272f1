// Writes one key. It is built several times with different exports, to test which of them is found.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

STDAPI DllRegisterServer() {
    keyreap::samples::KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Plain").SetText(L"", L"plain");
    return S_OK;
}
