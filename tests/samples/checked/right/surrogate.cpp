// Can run in the surrogate process of the system, by an application of its own.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0xdf7fcce6, 0x567d, 0x4d5c, {0xac, 0x86, 0xe8, 0xfb, 0xeb, 0x7b, 0x94, 0x0e}},
     L"Checked: Surrogate",
     L"KeyreapChecked.Surrogate",
     L"Both",
     MakePlainObject},
};

constexpr GUID applicationId = {0x134d43a3, 0x56f3, 0x4c0b, {0x8b, 0x63, 0x13, 0x11, 0xcc, 0x29, 0xec, 0x7c}};

std::wstring ApplicationKey() {
    return L"AppID\\" + TextOf(applicationId);
}

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    entries.SetText(ApplicationKey(), nullptr, L"Checked: Surrogate");
    entries.SetText(ApplicationKey(), L"DllSurrogate", L"");
    RegisterClass(entries, classes[0]);
    entries.SetText(KeyOf(classes[0]), L"AppID", TextOf(applicationId));
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    UnregisterClass(entries, classes[0]);
    entries.RemoveTree(ApplicationKey());
    return entries.Result();
}
