// Writes one key for each thing that can become of what a server does. Its values are named after what should
// become of them. Then it gives up: the key that it looks for last is empty while the roots are redirected.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

#include <string>

namespace {

using keyreap::samples::KeyWriter;

bool Exists(HKEY root, const wchar_t* path, const wchar_t* value = nullptr) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path, 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return false;
    }
    const bool found =
        value == nullptr || RegQueryValueExW(key, value, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    RegCloseKey(key);
    return found;
}

void WriteInOtherView() {
    constexpr REGSAM otherView = sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"Software\\KeyreapVerdicts", 0, nullptr, 0,
                        KEY_ALL_ACCESS | otherView, nullptr, &key, nullptr) == ERROR_SUCCESS) {
        RegSetValueExW(key, L"other view", 0, REG_SZ, reinterpret_cast<const BYTE*>(L"x"), 4);
        RegCloseKey(key);
    }
}

void LetChildWrite() {
    std::wstring line = L"reg.exe add HKCU\\Software\\KeyreapVerdicts /v child /d x /f";
    STARTUPINFOW start{};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process{};
    if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr,
                       &start, &process)) {
        WaitForSingleObject(process.hProcess, INFINITE);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
}

} // namespace

// The trace has stopped when the system calls it with this reason.
BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* reserved) {
    if (reason == DLL_PROCESS_DETACH && reserved == nullptr) {
        KeyWriter(HKEY_CURRENT_USER, L"Software\\KeyreapVerdicts").SetText(L"afterwards", L"x");
    }
    return TRUE;
}

STDAPI DllRegisterServer() {
    const KeyWriter key(HKEY_CLASSES_ROOT, L"Keyreap.Verdicts");
    key.SetText(L"in the result", L"x");
    key.SetText(L"overwritten", L"first");
    key.SetText(L"overwritten", L"second");
    key.SetText(L"deleted again", L"x");
    RegDeleteValueW(key.Handle(), L"deleted again");
    { const KeyWriter gone(key.Handle(), L"deleted key"); }
    RegDeleteKeyW(key.Handle(), L"deleted key");
    {
        const KeyWriter renamed(key.Handle(), L"old name");
        renamed.SetText(L"renamed", L"x");
        RegRenameKey(renamed.Handle(), nullptr, L"new name");
    }
    Exists(HKEY_CLASSES_ROOT, L"CLSID\\{4F7B1C1E-8B0D-4E53-9C55-3C0E4C7B5A01}");
    LetChildWrite();
    WriteInOtherView();
    { const KeyWriter noise(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\KeyreapVerdicts"); }
    if (!Exists(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows NT\\CurrentVersion", L"CurrentVersion")) {
        return E_FAIL;
    }
    key.SetText(L"at last", L"x");
    return S_OK;
}
