// plainregistration FILE: loads what the program loads at its start, has the server register itself, and
// captures nothing. No capture takes less. Ends with 0 if the server was registered.

#include <windows.h>

#include <commctrl.h>

int wmain(int count, wchar_t* words[]) {
    if (count != 2) {
        return 2;
    }
    const INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_BAR_CLASSES | ICC_DATE_CLASSES |
                                                              ICC_USEREX_CLASSES | ICC_COOL_CLASSES |
                                                              ICC_INTERNET_CLASSES};
    InitCommonControlsEx(&controls);
    LoadLibraryW(L"IPHLPAPI.DLL");
    LoadLibraryW(L"MPR.DLL");
    const HMODULE server = LoadLibraryW(words[1]);
    if (server == nullptr) {
        return 1;
    }
    using Register = HRESULT(WINAPI*)();
    const FARPROC found = GetProcAddress(server, "DllRegisterServer");
    const bool registered = found != nullptr && SUCCEEDED(reinterpret_cast<Register>(found)());
    FreeLibrary(server);
    return registered ? 0 : 1;
}
