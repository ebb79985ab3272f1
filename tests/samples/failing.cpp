// Writes a key and then reports failure.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

STDAPI DllRegisterServer() {
    keyreap::samples::KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Failing")
        .SetText(L"", L"written before failing");
    return E_FAIL;
}
