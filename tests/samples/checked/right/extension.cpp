// Registers a file extension with an icon and a verb.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0xefe7ab35, 0xcf17, 0x4430, {0xb2, 0x5d, 0x9b, 0xee, 0x0d, 0x94, 0xd7, 0x08}},
     L"Checked: Extension",
     L"KeyreapChecked.Extension",
     L"Apartment",
     MakePlainObject},
};

constexpr wchar_t extension[] = L".keyreapchecked";

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    RegisterClass(entries, classes[0]);
    const std::wstring progId = classes[0].progId;
    entries.SetText(extension, nullptr, progId);
    entries.SetText(extension, L"PerceivedType", L"text");
    entries.SetText(progId + L"\\DefaultIcon", nullptr, ModulePath() + L",-101");
    entries.SetText(progId + L"\\shell\\open\\command", nullptr,
                    L"%SystemRoot%\\System32\\notepad.exe \"%1\"", REG_EXPAND_SZ);
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    entries.RemoveTree(extension);
    UnregisterClass(entries, classes[0]);
    return entries.Result();
}
