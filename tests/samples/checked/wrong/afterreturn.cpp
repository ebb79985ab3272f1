// Writes a value by a thread when the registration has returned already.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0xae3d9b20, 0x21c6, 0x4a7e, {0xa3, 0xed, 0x23, 0x7e, 0x43, 0x63, 0x36, 0xbb}},
     L"Checked: AfterReturn",
     L"KeyreapChecked.AfterReturn",
     L"Both",
     MakePlainObject},
};

constexpr wchar_t ownKey[] = L"Software\\KeyreapChecked\\AfterReturn";
constexpr DWORD delay = 300;

// The last thread. It has a reference to the module, which is unloaded only after it.
std::atomic<HANDLE> writer = nullptr;

DWORD WINAPI WriteLater(void* module) {
    Sleep(delay);
    Entries(HKEY_LOCAL_MACHINE).SetText(ownKey, L"Installed", L"yes");
    FreeLibraryAndExitThread(static_cast<HMODULE>(module), 0);
}

void WaitForWriter() {
    const HANDLE thread = writer.exchange(nullptr);
    if (thread != nullptr) {
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }
}

HRESULT StartWriter() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, ownKey, &module);
    const HANDLE thread = CreateThread(nullptr, 0, WriteLater, module, 0, nullptr);
    if (thread == nullptr) {
        FreeLibrary(module);
        return E_OUTOFMEMORY;
    }
    const HANDLE earlier = writer.exchange(thread);
    if (earlier != nullptr) {
        CloseHandle(earlier);
    }
    return S_OK;
}

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    const HRESULT result = RegisterClasses();
    return FAILED(result) ? result : StartWriter();
}

STDAPI DllUnregisterServer() {
    using namespace keyreap::checked;
    WaitForWriter();
    Entries entries(HKEY_LOCAL_MACHINE);
    entries.RemoveTree(ownKey);
    entries.RemoveUnlessUsed(L"Software\\KeyreapChecked");
    const HRESULT result = UnregisterClasses();
    return FAILED(result) ? result : entries.Result();
}
