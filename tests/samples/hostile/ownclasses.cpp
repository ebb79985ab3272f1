// Redirects the classes to a key of its own and writes to a named view of them.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

STDAPI DllRegisterServer() {
    using keyreap::samples::KeyWriter;
    const KeyWriter own(HKEY_CURRENT_USER, L"Software\\KeyreapOwnClasses");
    RegOverridePredefKey(HKEY_CLASSES_ROOT, own.Handle());
    HKEY viewed = nullptr;
    RegCreateKeyExW(HKEY_CLASSES_ROOT, L"Keyreap.Viewed", 0, nullptr, 0, KEY_WRITE | KEY_WOW64_32KEY, nullptr,
                    &viewed, nullptr);
    KeyWriter(viewed, L"Below").SetText(L"", L"viewed");
    RegCloseKey(viewed);
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    return S_OK;
}
