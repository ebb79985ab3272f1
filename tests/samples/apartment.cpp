// Records the thread that it is registered on and the type of that thread's apartment.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <objbase.h>
#include <olectl.h>

#include <cstdint>
#include <string>

namespace {

// Thread ids are used again, but two threads that run one after the other never have the same start time.
std::wstring StartTimeOfThread() {
    FILETIME began = {};
    FILETIME unused = {};
    GetThreadTimes(GetCurrentThread(), &began, &unused, &unused, &unused);
    return std::to_wstring(std::uint64_t{began.dwHighDateTime} << 32 | began.dwLowDateTime);
}

// The APTTYPE; -1 if COM is not initialised.
DWORD TypeOfApartment() {
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    CoGetApartmentType(&type, &qualifier);
    return static_cast<DWORD>(type);
}

} // namespace

STDAPI DllRegisterServer() {
    const keyreap::samples::KeyWriter key(HKEY_CLASSES_ROOT, L"Keyreap.Apartment");
    key.SetDword(L"apartment", TypeOfApartment());
    key.SetText(L"thread", StartTimeOfThread());
    return S_OK;
}
