// Registers a category of its own, which its class implements.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0xae961dcf, 0xf297, 0x455e, {0x89, 0x3c, 0x0d, 0x30, 0xda, 0xf9, 0xaf, 0xf1}},
     L"Checked: Category",
     L"KeyreapChecked.Category",
     L"Both",
     MakePlainObject},
};

constexpr GUID categoryId = {0x037d29c9, 0xaac7, 0x415c, {0x86, 0xac, 0xf9, 0x9d, 0xfc, 0x21, 0x32, 0x4c}};

std::wstring CategoryKey() {
    return L"Component Categories\\" + TextOf(categoryId);
}

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    entries.SetText(CategoryKey(), L"409", L"Checked components");
    RegisterClass(entries, classes[0]);
    entries.CreateKey(KeyOf(classes[0]) + L"\\Implemented Categories\\" + TextOf(categoryId));
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    UnregisterClass(entries, classes[0]);
    entries.RemoveTree(CategoryKey());
    return entries.Result();
}
