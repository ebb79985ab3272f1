// The library of a program. It writes to the registry before the program's entry point runs: in a static
// constructor and when it is attached to the process. With REPEATS it writes a value that the system itself
// writes at each start.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

namespace keyreap::samples {

namespace {

#ifdef REPEATS

void WriteAtAttach() {
    HKEY key = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\TimeZoneInformation", 0,
                  KEY_SET_VALUE, &key);
    constexpr wchar_t text[] = L"the server's own";
    RegSetValueExW(key, L"StandardName", 0, REG_SZ, reinterpret_cast<const BYTE*>(text), sizeof(text));
    RegCloseKey(key);
}

#else

constexpr wchar_t ownKey[] = L"Software\\KeyreapStarting";

class Constructed {
public:
    Constructed() { KeyWriter(HKEY_CURRENT_USER, ownKey).SetText(L"static constructor", L"constructed"); }
};

const Constructed constructed;

void WriteAtAttach() {
    const KeyWriter key(HKEY_LOCAL_MACHINE, ownKey);
    key.SetText(L"DllMain", L"attached");
    key.SetText(L"made and removed", L"gone");
    RegDeleteValueW(key.Handle(), L"made and removed");
    KeyWriter(key.Handle(), L"Empty");
    KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Starting\\CLSID")
        .SetText(L"", L"{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D23}");
}

#endif

} // namespace

} // namespace keyreap::samples

extern "C" __declspec(dllexport) DWORD LibraryNumber() {
    return 0;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        keyreap::samples::WriteAtAttach();
    }
    return TRUE;
}
