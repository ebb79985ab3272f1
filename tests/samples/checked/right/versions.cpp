// Two versions of a class, each with a ProgID of its own. The ProgID without a version refers to the later
// one.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x75d2426d, 0x3cf7, 0x4807, {0xbe, 0xa5, 0xdd, 0xdf, 0x9e, 0x8f, 0x6b, 0xd9}},
     L"Checked: Versions, 1",
     L"KeyreapChecked.Versions.1",
     L"Apartment",
     MakePlainObject},
    {{0x5da6836e, 0x5a3e, 0x41f6, {0xa5, 0x87, 0xca, 0xa7, 0x10, 0xce, 0x81, 0x89}},
     L"Checked: Versions, 2",
     L"KeyreapChecked.Versions.2",
     L"Both",
     MakePlainObject},
};

constexpr const ServedClass& latest = classes[1];
constexpr wchar_t progId[] = L"KeyreapChecked.Versions";

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    for (const ServedClass& served : classes) {
        RegisterClass(entries, served);
    }
    entries.SetText(KeyOf(latest) + L"\\VersionIndependentProgID", nullptr, progId);
    entries.SetText(progId, nullptr, L"Checked: Versions");
    entries.SetText(std::wstring(progId) + L"\\CLSID", nullptr, TextOf(latest.id));
    entries.SetText(std::wstring(progId) + L"\\CurVer", nullptr, latest.progId);
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    entries.RemoveTree(progId);
    for (const ServedClass& served : classes) {
        UnregisterClass(entries, served);
    }
    return entries.Result();
}
