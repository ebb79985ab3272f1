// Fails, and changes nothing, if it is registered already.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0xeafccd44, 0xebff, 0x433c, {0x9f, 0xfb, 0x93, 0x51, 0xe5, 0x13, 0x4c, 0xb0}},
     L"Checked: Refuses",
     L"KeyreapChecked.Refuses",
     L"Both",
     MakePlainObject},
};

bool IsRegistered() {
    HKEY key = nullptr;
    const LSTATUS status =
        RegOpenKeyExW(HKEY_CLASSES_ROOT, KeyOf(classes[0]).c_str(), 0, KEY_QUERY_VALUE, &key);
    if (status == ERROR_SUCCESS) {
        RegCloseKey(key);
    }
    return status == ERROR_SUCCESS;
}

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    return IsRegistered() ? E_FAIL : RegisterClasses();
}

STDAPI DllUnregisterServer() {
    return keyreap::checked::UnregisterClasses();
}
