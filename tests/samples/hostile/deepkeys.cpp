// Nests 500 keys.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

STDAPI DllRegisterServer() {
    constexpr int depth = 500;
    std::wstring path = L"Software";
    for (int level = 1; level < depth; ++level) {
        path += L"\\k";
    }
    keyreap::samples::KeyWriter(HKEY_CURRENT_USER, path).SetText(L"", L"bottom");
    return S_OK;
}
