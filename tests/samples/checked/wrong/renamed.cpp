// Creates a key under a temporary name, and renames it when its values are complete.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x215a39e5, 0xeb6a, 0x4ecf, {0xa7, 0xae, 0xa0, 0x4e, 0x9d, 0x75, 0x66, 0x83}},
     L"Checked: Renamed",
     L"KeyreapChecked.Renamed",
     L"Both",
     MakePlainObject},
};

constexpr wchar_t temporaryName[] = L"Settings being written";
constexpr wchar_t lastingName[] = L"Settings";

HRESULT RegisterSettings() {
    const std::wstring key = KeyOf(classes[0]) + L"\\";
    Entries entries(HKEY_CLASSES_ROOT, key);
    entries.RemoveTree(temporaryName);
    entries.RemoveTree(lastingName);
    entries.SetText(temporaryName, L"Language", L"en");
    entries.SetNumber(temporaryName, L"Level", 3);
    if (FAILED(entries.Result())) {
        return entries.Result();
    }
    const LSTATUS status = RegRenameKey(HKEY_CLASSES_ROOT, (key + temporaryName).c_str(), lastingName);
    return HRESULT_FROM_WIN32(static_cast<DWORD>(status));
}

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    const HRESULT result = RegisterClasses();
    return FAILED(result) ? result : RegisterSettings();
}

STDAPI DllUnregisterServer() {
    return keyreap::checked::UnregisterClasses();
}
