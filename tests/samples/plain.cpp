// Writes one key. Built several times, with different exports, to see which of them is found.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

STDAPI DllRegisterServer() {
    keyreap::samples::KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Plain").SetText(L"", L"plain");
    return S_OK;
}
