// A plain class. Its keys are removed one by one.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x609f5173, 0x23b7, 0x493b, {0x97, 0x98, 0x98, 0x62, 0x40, 0xfa, 0x03, 0xa6}},
     L"Checked: ApartmentClass",
     L"KeyreapChecked.ApartmentClass",
     L"Apartment",
     MakePlainObject},
};

LSTATUS RemoveKey(const std::wstring& path) {
    const LSTATUS status = RegDeleteKeyW(HKEY_CLASSES_ROOT, path.c_str());
    return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    return keyreap::checked::RegisterClasses();
}

STDAPI DllUnregisterServer() {
    using namespace keyreap::checked;
    const std::wstring own = KeyOf(classes[0]);
    const std::wstring progId = classes[0].progId;
    for (const std::wstring& path :
         {progId + L"\\CLSID", progId, own + L"\\ProgID", own + L"\\InprocServer32", own}) {
        if (const LSTATUS status = RemoveKey(path); status != ERROR_SUCCESS) {
            return HRESULT_FROM_WIN32(static_cast<DWORD>(status));
        }
    }
    return S_OK;
}
