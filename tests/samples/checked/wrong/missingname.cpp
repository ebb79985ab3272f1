// Loads a library whose name it composes, and which is nowhere. Without it, it stops half registered.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x89cad339, 0x702e, 0x4744, {0xb0, 0xb0, 0xd2, 0xd5, 0x85, 0x1b, 0xa2, 0x09}},
     L"Checked: MissingName",
     L"KeyreapChecked.MissingName",
     L"Both",
     MakePlainObject},
};

std::wstring PluginName(const std::wstring& kind) {
    return L"checked" + kind + L".dll";
}

bool IsPluginThere() {
    return LoadLibraryW(PluginName(L"plugin").c_str()) != nullptr;
}

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    RegisterPath(entries, classes[0]);
    if (!IsPluginThere()) {
        return E_FAIL;
    }
    RegisterModelAndProgId(entries, classes[0]);
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    return keyreap::checked::UnregisterClasses();
}
