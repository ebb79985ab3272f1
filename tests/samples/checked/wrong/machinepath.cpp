// Writes folders of the present user, and the computer's name.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x4ec25b64, 0x0899, 0x4a8d, {0x96, 0x3b, 0x72, 0xdc, 0xf5, 0xfc, 0xdc, 0xa3}},
     L"Checked: MachinePath",
     L"KeyreapChecked.MachinePath",
     L"Both",
     MakePlainObject},
};

std::wstring Expanded(const wchar_t* text) {
    wchar_t expanded[MAX_PATH + 1] = {};
    ExpandEnvironmentStringsW(text, expanded, MAX_PATH);
    return expanded;
}

std::wstring NameOfComputer() {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
    // Wine looks the name up below HKEY_LOCAL_MACHINE, which may have been replaced by another key.
    return GetComputerNameW(name, &length) && length != 0 ? name : Expanded(L"%COMPUTERNAME%");
}

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    RegisterClass(entries, classes[0]);
    const std::wstring settings = KeyOf(classes[0]) + L"\\Settings";
    entries.SetText(settings, L"Documents", Expanded(L"%USERPROFILE%") + L"\\Checked");
    entries.SetText(settings, L"Cache", Expanded(L"%TEMP%"));
    entries.SetText(settings, L"Computer", NameOfComputer());
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    return keyreap::checked::UnregisterClasses();
}
