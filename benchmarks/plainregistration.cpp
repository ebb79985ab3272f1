// plainregistration FILE: loads what the program loads at its start, has the server register itself, and
// captures nothing. No capture takes less. Ends with 0 if the server was registered.

#include "extract/startmodules.h"
#include "platform/os/entrypoint.h"

#include <windows.h>

int wmain(int count, wchar_t* words[]) {
    if (count != 2) {
        return 2;
    }
    keyreap::LoadStartModules();
    const HMODULE server = LoadLibraryW(words[1]);
    using Register = HRESULT(WINAPI*)();
    const auto registerServer = keyreap::FindEntryPoint<Register>(server, "DllRegisterServer");
    return registerServer != nullptr && SUCCEEDED(registerServer()) ? 0 : 1;
}
