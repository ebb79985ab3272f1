// Writes KEYREAP_VALUES values into one key. Their names have KEYREAP_DIGITS digits.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

#ifndef KEYREAP_DIGITS
#define KEYREAP_DIGITS 6
#endif

STDAPI DllRegisterServer() {
    constexpr std::size_t digits = KEYREAP_DIGITS;
    const keyreap::samples::KeyWriter key(HKEY_CURRENT_USER, L"Software\\KeyreapMany");
    for (DWORD i = 0; i < KEYREAP_VALUES; ++i) {
        const std::wstring number = std::to_wstring(i);
        key.SetDword(std::wstring(digits - number.size(), L'0') + number, i);
    }
    return S_OK;
}
