// Registers its class for the present user only.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0xf1deed93, 0x8cbc, 0x4e83, {0xa2, 0x2e, 0x3a, 0xdc, 0x8e, 0xc3, 0x5c, 0xab}},
     L"Checked: PerUser",
     L"KeyreapChecked.PerUser",
     L"Both",
     MakePlainObject},
};

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CURRENT_USER, L"Software\\Classes\\");
    RegisterClass(entries, classes[0]);
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CURRENT_USER, L"Software\\Classes\\");
    UnregisterClass(entries, classes[0]);
    // A user without any class has neither key.
    Entries parents(HKEY_CURRENT_USER, L"Software\\");
    parents.RemoveUnlessUsed(L"Classes\\CLSID");
    parents.RemoveUnlessUsed(L"Classes");
    return entries.Result();
}
