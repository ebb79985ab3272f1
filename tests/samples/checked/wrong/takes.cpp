// Removes a file extension that others have registered when it is unregistered.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x75809b4b, 0x869b, 0x47f1, {0x94, 0xd8, 0xf0, 0x7e, 0x09, 0x3c, 0x86, 0x26}},
     L"Checked: Takes",
     L"KeyreapChecked.Takes",
     L"Both",
     MakePlainObject},
};

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    return keyreap::checked::RegisterClasses();
}

STDAPI DllUnregisterServer() {
    RegDeleteTreeW(HKEY_CLASSES_ROOT, L".xml");
    return keyreap::checked::UnregisterClasses();
}
