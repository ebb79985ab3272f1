// Sets the default value of its ProgID twice, to different texts.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x8e7a1705, 0xe3d3, 0x4a23, {0xbc, 0x74, 0x29, 0x65, 0xd3, 0x39, 0x88, 0xc6}},
     L"Checked: Overwritten",
     L"KeyreapChecked.Overwritten",
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
    Entries entries(HKEY_CLASSES_ROOT);
    entries.SetText(classes[0].progId, nullptr, L"Checked: being registered");
    RegisterClass(entries, classes[0]);
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    return keyreap::checked::UnregisterClasses();
}
