// Registers a class only for the current user.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

STDAPI DllRegisterServer() {
    using keyreap::samples::KeyWriter;
    const KeyWriter classes(HKEY_CURRENT_USER, L"Software\\Classes");
    const KeyWriter progId(classes.Handle(), L"Keyreap.PerUser");
    progId.SetText(L"", L"per user");
    KeyWriter(progId.Handle(), L"CLSID").SetText(L"", L"{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D01}");
    const KeyWriter server(classes.Handle(),
                           L"CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D01}\\InprocServer32");
    server.SetText(L"", L"peruser.dll");
    server.SetText(L"ThreadingModel", L"Apartment");
    return S_OK;
}
