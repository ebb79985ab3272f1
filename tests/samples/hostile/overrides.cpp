// Removes the overrides of two roots, writes to the live roots, and redirects one root elsewhere.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

STDAPI DllRegisterServer() {
    using keyreap::samples::KeyWriter;
    KeyWriter(HKEY_CURRENT_USER, L"Software\\KeyreapBefore").SetText(L"", L"captured");
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Past").SetText(L"", L"past");
    const KeyWriter elsewhere(HKEY_CURRENT_USER, L"Software\\KeyreapElsewhere");
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, elsewhere.Handle());
    KeyWriter(HKEY_LOCAL_MACHINE, L"Software\\KeyreapElsewhere").SetText(L"", L"elsewhere");
    return S_OK;
}
