// Starts threads that write until the process ends: two through a key that they keep open, two by the key's
// name. The module stays loaded, because it contains the threads' code.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

namespace {

using keyreap::samples::KeyWriter;

constexpr wchar_t keyPath[] = L"Software\\KeyreapThreads";

std::wstring NameOfThread() {
    return L"thread " + std::to_wstring(GetCurrentThreadId());
}

DWORD WINAPI WriteThroughAHeldKey(void*) {
    const KeyWriter key(HKEY_CURRENT_USER, keyPath);
    for (DWORD count = 0;; ++count) {
        key.SetDword(NameOfThread(), count);
    }
}

DWORD WINAPI WriteByName(void*) {
    for (DWORD count = 0;; ++count) {
        KeyWriter(HKEY_CURRENT_USER, keyPath).SetDword(NameOfThread(), count);
    }
}

void Start(LPTHREAD_START_ROUTINE routine) {
    CloseHandle(CreateThread(nullptr, 0, routine, nullptr, 0, nullptr));
}

} // namespace

STDAPI DllRegisterServer() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<LPCWSTR>(&Start), &module);
    for (const auto routine : {WriteThroughAHeldKey, WriteByName, WriteThroughAHeldKey, WriteByName}) {
        Start(routine);
    }
    KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Threads").SetText(L"", L"returned");
    return S_OK;
}
