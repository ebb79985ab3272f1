// Loads while it runs what other programs have from their start, and writes nothing: whatever the libraries
// do to the registry as they come up is their system's doing.
#include <windows.h>

namespace {

constexpr const wchar_t* libraries[] = {L"user32.dll",  L"ole32.dll", L"shell32.dll", L"comctl32.dll",
                                        L"wininet.dll", L"msi.dll",   L"mshtml.dll"};

void EnterAndLeaveCom() {
    HMODULE ole = GetModuleHandleW(L"ole32.dll");
    const auto enter = reinterpret_cast<HRESULT(WINAPI*)(void*)>(
        reinterpret_cast<void (*)()>(GetProcAddress(ole, "CoInitialize")));
    const auto leave = reinterpret_cast<void(WINAPI*)()>(
        reinterpret_cast<void (*)()>(GetProcAddress(ole, "CoUninitialize")));
    enter(nullptr);
    leave();
}

} // namespace

int wmain() {
    for (const wchar_t* library : libraries) {
        LoadLibraryW(library);
    }
    EnterAndLeaveCom();
    TIME_ZONE_INFORMATION zone = {};
    GetTimeZoneInformation(&zone);
    wchar_t text[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, text);
    GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, text, MAX_PATH);
    return 0;
}
