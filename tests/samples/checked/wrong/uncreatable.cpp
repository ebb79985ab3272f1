// Has two classes, and makes instances of one of them.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x70ab2739, 0xf84e, 0x4b9b, {0xa8, 0x40, 0xad, 0x60, 0xee, 0x18, 0x7c, 0x80}},
     L"Checked: Uncreatable",
     L"KeyreapChecked.Uncreatable",
     L"Both",
     MakePlainObject},
    {{0x0aeab173, 0x5c24, 0x410a, {0xa4, 0x34, 0x9c, 0x68, 0x88, 0x8d, 0xed, 0x2b}},
     L"Checked: Uncreatable, the second one",
     L"KeyreapChecked.UncreatableSecond",
     L"Both",
     nullptr},
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
    return keyreap::checked::UnregisterClasses();
}
