// Registers at the first call in a process only. Later calls succeed and write nothing.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x61027bc4, 0xca40, 0x4066, {0xb3, 0x98, 0x31, 0xbd, 0xec, 0x0d, 0xc9, 0x91}},
     L"Checked: Once",
     L"KeyreapChecked.Once",
     L"Both",
     MakePlainObject},
};

constexpr wchar_t ownKey[] = L"Software\\KeyreapChecked\\Once";

std::atomic<bool> isDone = false;

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    if (isDone.exchange(true)) {
        return S_OK;
    }
    // Stays loaded, as servers do that are linked to a library which can't be unloaded.
    HMODULE own = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, ownKey, &own);
    Entries entries(HKEY_LOCAL_MACHINE);
    entries.SetText(ownKey, L"Installed", L"yes");
    const HRESULT result = RegisterClasses();
    return FAILED(result) ? result : entries.Result();
}

STDAPI DllUnregisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_LOCAL_MACHINE);
    entries.RemoveTree(ownKey);
    entries.RemoveUnlessUsed(L"Software\\KeyreapChecked");
    const HRESULT result = UnregisterClasses();
    return FAILED(result) ? result : entries.Result();
}
