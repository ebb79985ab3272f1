// A DLL with the extension .exe and a type library as a resource. A capture has to load it, not to start it,
// and to register the type library afterwards.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

STDAPI DllRegisterServer() {
    using namespace keyreap::samples;
    const std::wstring path = ModulePathOf(reinterpret_cast<const void*>(&DllRegisterServer));
    KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Exporting").SetText(L"", path);
    return S_OK;
}
