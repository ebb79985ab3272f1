// Loads a library from its folder, where one of the other bitness is. Without it, it stops half registered.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

// Not declared as imported, which would have GNU's linker drop the code that loads the library in 32 bits.
extern "C" int CheckedHelperStart();

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x26729023, 0x75fb, 0x4db2, {0xab, 0xd5, 0x18, 0x2b, 0x00, 0xb3, 0x85, 0xb4}},
     L"Checked: WrongBitness",
     L"KeyreapChecked.WrongBitness",
     L"Apartment",
     MakePlainObject},
};

bool IsHelperThere() {
    const std::wstring path = ModuleFolder() + L"\\checkedhelper.dll";
    return LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH) != nullptr;
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
    if (!IsHelperThere() || CheckedHelperStart() == 0) {
        return E_FAIL;
    }
    RegisterModelAndProgId(entries, classes[0]);
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    return keyreap::checked::UnregisterClasses();
}
