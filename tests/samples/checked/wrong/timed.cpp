// Writes the time of the registration.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

#include <cwchar>
#include <iterator>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0xd17b2423, 0xbeb9, 0x4002, {0xa8, 0x89, 0xf0, 0x59, 0xc0, 0x0e, 0x98, 0xee}},
     L"Checked: Timed",
     L"KeyreapChecked.Timed",
     L"Both",
     MakePlainObject},
};

std::wstring PresentTime() {
    SYSTEMTIME now = {};
    GetSystemTime(&now);
    wchar_t text[64] = {};
    std::swprintf(text, std::size(text), L"%04u-%02u-%02u %02u:%02u:%02u.%03u", now.wYear, now.wMonth,
                  now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
    return text;
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
    entries.SetText(KeyOf(classes[0]), L"Registered", PresentTime());
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    return keyreap::checked::UnregisterClasses();
}
