// Records the error mode of the process that registers it.
#include "tests/samples/support/errormode.h"

#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

STDAPI DllRegisterServer() {
    keyreap::samples::KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.ErrorMode")
        .SetDword(L"mode", keyreap::samples::BoxesInErrorMode());
    return S_OK;
}
