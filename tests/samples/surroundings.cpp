// Records its surroundings while it registers itself.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <objbase.h>
#include <olectl.h>

namespace keyreap::samples {

namespace {

DWORD SubkeysOf(HKEY root) {
    DWORD subkeys = 0;
    RegQueryInfoKeyW(root, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, nullptr, nullptr, nullptr,
                     nullptr, nullptr);
    return subkeys;
}

DWORD Exists(HKEY root, const wchar_t* path) {
    HKEY key = nullptr;
    const bool opened = RegOpenKeyExW(root, path, 0, KEY_READ, &key) == ERROR_SUCCESS;
    RegCloseKey(key);
    return opened ? 1 : 0;
}

DWORD IsLoaded(const wchar_t* module) {
    return GetModuleHandleW(module) != nullptr ? 1 : 0;
}

DWORD InSingleThreadedApartment() {
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    const bool known = SUCCEEDED(CoGetApartmentType(&type, &qualifier));
    return known && (type == APTTYPE_STA || type == APTTYPE_MAINSTA) ? 1 : 0;
}

struct Counts {
    DWORD classesRoot;
    DWORD currentUser;
    DWORD users;
    DWORD localMachine;
};

Counts CountSubkeys() {
    return {SubkeysOf(HKEY_CLASSES_ROOT), SubkeysOf(HKEY_CURRENT_USER), SubkeysOf(HKEY_USERS),
            SubkeysOf(HKEY_LOCAL_MACHINE)};
}

} // namespace

} // namespace keyreap::samples

STDAPI DllRegisterServer() {
    using namespace keyreap::samples;
    const Counts before = CountSubkeys();
    const DWORD classes = Exists(HKEY_LOCAL_MACHINE, L"Software\\Classes");
    const DWORD machine = Exists(HKEY_LOCAL_MACHINE, L"Software\\Microsoft");
    const KeyWriter key(HKEY_CLASSES_ROOT, L"Keyreap.Surroundings");
    key.SetDword(L"HKEY_CLASSES_ROOT", before.classesRoot);
    key.SetDword(L"HKEY_CURRENT_USER", before.currentUser);
    key.SetDword(L"HKEY_LOCAL_MACHINE", before.localMachine);
    key.SetDword(L"HKEY_LOCAL_MACHINE\\Software\\Classes", classes);
    key.SetDword(L"HKEY_LOCAL_MACHINE\\Software\\Microsoft", machine);
    key.SetDword(L"HKEY_USERS", before.users);
    key.SetDword(L"IPHLPAPI.DLL", IsLoaded(L"IPHLPAPI.DLL"));
    key.SetDword(L"MPR.DLL", IsLoaded(L"MPR.DLL"));
    key.SetDword(L"single-threaded apartment", InSingleThreadedApartment());
    return S_OK;
}
