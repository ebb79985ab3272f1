// Needs a value that every Windows has. Without it, as in an empty registry, it stops half registered.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0xdc5d4d3f, 0xfc03, 0x4196, {0xa4, 0x32, 0x75, 0xe5, 0x7f, 0x1e, 0x42, 0x1d}},
     L"Checked: EmptyKey",
     L"KeyreapChecked.EmptyKey",
     L"Apartment",
     MakePlainObject},
};

bool HasVersionOfWindows() {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows NT\\CurrentVersion", 0,
                      KEY_QUERY_VALUE, &key) != ERROR_SUCCESS) {
        return false;
    }
    const LSTATUS status = RegQueryValueExW(key, L"CurrentVersion", nullptr, nullptr, nullptr, nullptr);
    RegCloseKey(key);
    return status == ERROR_SUCCESS;
}

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    RegisterPath(entries, classes[0]);
    if (!HasVersionOfWindows()) {
        return E_FAIL;
    }
    RegisterModelAndProgId(entries, classes[0]);
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    return keyreap::checked::UnregisterClasses();
}
