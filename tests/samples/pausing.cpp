// Writes half of its entries, signals that, and waits until a test lets it continue.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

namespace {

HANDLE NamedEvent(const wchar_t* name) {
    return CreateEventW(nullptr, TRUE, FALSE, name);
}

} // namespace

STDAPI DllRegisterServer() {
    using keyreap::samples::KeyWriter;
    KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Pausing").SetText(L"", L"half");
    KeyWriter(HKEY_CURRENT_USER, L"Software\\KeyreapPausing").SetText(L"", L"half");
    KeyWriter(HKEY_LOCAL_MACHINE, L"Software\\KeyreapPausing").SetText(L"", L"half");
    HANDLE reached = NamedEvent(L"KeyreapPausing.Reached");
    HANDLE goOn = NamedEvent(L"KeyreapPausing.GoOn");
    SetEvent(reached);
    WaitForSingleObject(goOn, INFINITE);
    CloseHandle(goOn);
    CloseHandle(reached);
    KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Pausing").SetText(L"rest", L"written");
    return S_OK;
}
