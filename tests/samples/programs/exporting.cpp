// A DLL that is built under the extension .exe, with a type library as a resource: it is to be loaded, not
// started, and the type library registered behind it.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

STDAPI DllRegisterServer() {
    using namespace keyreap::samples;
    const std::wstring path = ModulePathOf(reinterpret_cast<const void*>(&DllRegisterServer));
    KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Exporting").SetText(L"", path);
    return S_OK;
}
