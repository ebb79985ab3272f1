// Waits at each of its points until it may continue: at the point P it creates the file P.reached in the
// folder that the variable KEYREAP_STOPS names, and waits as long as the file P.hold exists there. Tests of
// the host can hold it as well as Windows programs because these are files.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

namespace {

using keyreap::samples::KeyWriter;

std::wstring StopsFolder() {
    wchar_t folder[MAX_PATH] = {};
    return std::wstring(folder, GetEnvironmentVariableW(L"KEYREAP_STOPS", folder, MAX_PATH));
}

void Reach(const std::wstring& point) {
    constexpr DWORD pauseMilliseconds = 5;
    const std::wstring place = StopsFolder() + L"\\" + point;
    CloseHandle(CreateFileW((place + L".reached").c_str(), GENERIC_WRITE, FILE_SHARE_DELETE, nullptr,
                            CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    while (GetFileAttributesW((place + L".hold").c_str()) != INVALID_FILE_ATTRIBUTES) {
        Sleep(pauseMilliseconds);
    }
}

} // namespace

// At the first call the capture has begun; at the last one it has ended and its result is not yet written.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        Reach(L"loading");
    }
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) {
        Reach(L"unloading");
    }
    return TRUE;
}

STDAPI DllRegisterServer() {
    KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Stopping").SetText(L"", L"half");
    KeyWriter(HKEY_CURRENT_USER, L"Software\\KeyreapStopping").SetText(L"", L"half");
    KeyWriter(HKEY_LOCAL_MACHINE, L"Software\\KeyreapStopping").SetText(L"", L"half");
    Reach(L"registering");
    KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Stopping").SetText(L"rest", L"written");
    return S_OK;
}
