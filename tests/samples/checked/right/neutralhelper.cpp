// Loads a library from its own folder, and asks it for the name of its version.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x003dca8a, 0xf3de, 0x47e8, {0x82, 0xca, 0xe7, 0x6c, 0x18, 0x30, 0x1c, 0xc0}},
     L"Checked: NeutralHelper",
     L"KeyreapChecked.NeutralHelper",
     L"Neutral",
     MakePlainObject},
};

// Empty without the library.
std::wstring VersionName() {
    const std::wstring path = ModuleFolder() + L"\\neutralhelperlib.dll";
    const HMODULE helper = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (helper == nullptr) {
        return L"";
    }
    using Function = const wchar_t* (*)();
    const auto function =
        reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(helper, "CheckedVersionName")));
    std::wstring name = function == nullptr ? L"" : function();
    FreeLibrary(helper);
    return name;
}

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    const std::wstring version = VersionName();
    if (version.empty()) {
        return SELFREG_E_CLASS;
    }
    Entries entries(HKEY_CLASSES_ROOT);
    RegisterClass(entries, classes[0]);
    entries.SetText(KeyOf(classes[0]) + L"\\Version", nullptr, version);
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    return keyreap::checked::UnregisterClasses();
}
