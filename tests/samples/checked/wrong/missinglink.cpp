// Is linked, with loading delayed, with a library that is nowhere. Without it, it stops half registered.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

// Not declared as imported, which would have GNU's linker drop the code that loads the library in 32 bits.
extern "C" int CheckedAbsentStart();

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x2817ab05, 0xfdc7, 0x4920, {0xb4, 0x4a, 0xad, 0x40, 0x69, 0xea, 0xd1, 0x67}},
     L"Checked: MissingLink",
     L"KeyreapChecked.MissingLink",
     L"Both",
     MakePlainObject},
};

bool IsLibraryThere() {
    return LoadLibraryW(L"checkedabsent.dll") != nullptr;
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
    if (!IsLibraryThere() || CheckedAbsentStart() == 0) {
        return E_FAIL;
    }
    RegisterModelAndProgId(entries, classes[0]);
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    return keyreap::checked::UnregisterClasses();
}
