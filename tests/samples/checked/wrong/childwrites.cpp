// Has another program write one of its values.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x4ff52ac2, 0x8ae5, 0x4065, {0x8b, 0x45, 0xfe, 0x02, 0xa9, 0x8d, 0xdd, 0x85}},
     L"Checked: ChildWrites",
     L"KeyreapChecked.ChildWrites",
     L"Apartment",
     MakePlainObject},
};

constexpr wchar_t ownKey[] = L"Software\\KeyreapChecked\\ChildWrites";

std::wstring ProgramOfSystem(const wchar_t* name) {
    wchar_t folder[MAX_PATH] = {};
    GetSystemDirectoryW(folder, MAX_PATH);
    return std::wstring(folder) + L"\\" + name;
}

HRESULT Run(const std::wstring& program, const std::wstring& arguments) {
    std::wstring line = L"\"" + program + L"\" " + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                        nullptr, &startup, &process)) {
        return E_FAIL;
    }
    DWORD status = 1;
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &status);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return status == 0 ? S_OK : E_FAIL;
}

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    const HRESULT result = RegisterClasses();
    if (FAILED(result)) {
        return result;
    }
    return Run(ProgramOfSystem(L"reg.exe"),
               L"add \"HKLM\\" + std::wstring(ownKey) + L"\" /v Installed /t REG_SZ /d yes /f");
}

STDAPI DllUnregisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_LOCAL_MACHINE);
    entries.RemoveTree(ownKey);
    entries.RemoveUnlessUsed(L"Software\\KeyreapChecked");
    const HRESULT result = UnregisterClasses();
    return FAILED(result) ? result : entries.Result();
}
