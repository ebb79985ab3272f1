// Has all that it needs, but refuses to be loaded. The sample `uponrefusing` needs it.
#include <windows.h>

#include <olectl.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    return reason == DLL_PROCESS_ATTACH ? FALSE : TRUE;
}

extern "C" __declspec(dllexport) DWORD LibraryNumber() {
    return 42;
}

STDAPI DllRegisterServer() {
    return S_OK;
}
