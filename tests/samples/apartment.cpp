// Writes down the thread that it is registered on and the apartment that it finds there.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <objbase.h>
#include <olectl.h>

#include <cstdint>
#include <string>

namespace {

// Thread ids are given out again; of two threads, one after the other, no two began at one moment.
std::wstring MomentOfThisThreadsBeginning() {
    FILETIME began = {};
    FILETIME unused = {};
    GetThreadTimes(GetCurrentThread(), &began, &unused, &unused, &unused);
    return std::to_wstring(std::uint64_t{began.dwHighDateTime} << 32 | began.dwLowDateTime);
}

// The APTTYPE; -1 where COM was not entered.
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
    key.SetText(L"thread", MomentOfThisThreadsBeginning());
    return S_OK;
}
