// Leaves its ProgID when it is unregistered.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0xf8bdb9ed, 0xe2e7, 0x4781, {0x9b, 0x29, 0x1b, 0x7f, 0xb9, 0xbc, 0xaa, 0x85}},
     L"Checked: Leaves",
     L"KeyreapChecked.Leaves",
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
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    entries.RemoveTree(KeyOf(classes[0]));
    return entries.Result();
}
