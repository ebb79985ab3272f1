// Registers values of all kinds: expandable text, a list, a number and binary data.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x09ea7cd1, 0x98be, 0x48a0, {0xa1, 0xe8, 0x09, 0x38, 0xcd, 0xa4, 0x7b, 0xd9}},
     L"Checked: FreeData",
     L"KeyreapChecked.FreeData",
     L"Free",
     MakePlainObject},
};

constexpr wchar_t languages[] = L"en\0de\0fr\0";
constexpr BYTE mask[] = {0x01, 0x00, 0x80, 0xFF, 0x00, 0x10, 0x00, 0x7F};
constexpr ULONGLONG capacity = 0x100000000;

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
    entries.SetText(settings, L"Help", L"%SystemRoot%\\Help", REG_EXPAND_SZ);
    entries.SetData(settings, L"Languages", REG_MULTI_SZ, languages, sizeof(languages));
    entries.SetData(settings, L"Mask", REG_BINARY, mask, sizeof(mask));
    entries.SetData(settings, L"Capacity", REG_QWORD, &capacity, sizeof(capacity));
    entries.SetNumber(settings, L"Level", 3);
    entries.SetText(settings, L"Empty", L"");
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    return keyreap::checked::UnregisterClasses();
}
