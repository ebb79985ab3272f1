// Writes a value in the registry view of the other bitness.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x3851579d, 0x90e6, 0x4b0a, {0x83, 0x93, 0x9b, 0x79, 0x90, 0xf1, 0x20, 0x00}},
     L"Checked: OtherView",
     L"KeyreapChecked.OtherView",
     L"Both",
     MakePlainObject},
};

constexpr wchar_t ownKey[] = L"Software\\KeyreapChecked\\OtherView";
constexpr REGSAM otherView = sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_LOCAL_MACHINE, L"", otherView);
    entries.SetText(ownKey, L"Installed", L"yes");
    const HRESULT result = RegisterClasses();
    return FAILED(result) ? result : entries.Result();
}

STDAPI DllUnregisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_LOCAL_MACHINE, L"", otherView);
    entries.RemoveTree(ownKey);
    entries.RemoveUnlessUsed(L"Software\\KeyreapChecked");
    const HRESULT result = UnregisterClasses();
    return FAILED(result) ? result : entries.Result();
}
