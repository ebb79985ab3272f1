// A server whose child process writes too. With /REGSERVER it writes, runs the child, and writes again.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <string_view>

namespace {

using keyreap::samples::KeyWriter;

constexpr wchar_t childSwitch[] = L"/CHILD";

void WriteAsChild() {
    KeyWriter(HKEY_CURRENT_USER, L"Software\\KeyreapFamily\\Child").SetText(L"", L"the child's");
    KeyWriter(HKEY_CURRENT_USER, L"Software\\KeyreapFamily\\Shared").SetText(L"child", L"the child's");
    KeyWriter(HKEY_LOCAL_MACHINE, L"Software\\KeyreapChild").SetText(L"", L"the child's");
}

void RunChild() {
    std::wstring line = L"family.exe ";
    line += childSwitch;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION child = {};
    const std::wstring self = keyreap::samples::ModulePathOf(reinterpret_cast<const void*>(&RunChild));
    if (CreateProcessW(self.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &child)) {
        WaitForSingleObject(child.hProcess, INFINITE);
        CloseHandle(child.hThread);
        CloseHandle(child.hProcess);
    }
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    if (count == 2 && arguments[1] == std::wstring_view(childSwitch)) {
        WriteAsChild();
    } else if (count == 2 && arguments[1] == std::wstring_view(L"/REGSERVER")) {
        const KeyWriter key(HKEY_CURRENT_USER, L"Software\\KeyreapFamily");
        key.SetText(L"", L"the parent's");
        KeyWriter(key.Handle(), L"Shared").SetText(L"parent", L"the parent's");
        RunChild();
        KeyWriter(key.Handle(), L"After").SetText(L"", L"the parent's");
    }
    return 0;
}
