// Records when it is loaded, registered and unloaded, in one key of the current user.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

namespace {

void Record(const wchar_t* moment) {
    keyreap::samples::KeyWriter(HKEY_CURRENT_USER, L"Software\\KeyreapLifetime").SetDword(moment, 1);
}

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        Record(L"loaded");
    }
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) {
        Record(L"unloaded");
    }
    return TRUE;
}

STDAPI DllRegisterServer() {
    Record(L"registered");
    return S_OK;
}
