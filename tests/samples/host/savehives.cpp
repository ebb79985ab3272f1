#include <windows.h>

#include <string>

// Usage: savehives FOLDER
// Saves the hives of the machine, the current user and the default user into an existing folder as
// system.reg, user.reg and userdef.reg, each with one request to the system. Volatile keys are not saved.
// Status 0: all were saved; 1: one could not be saved; 3: no folder was named.

namespace {

void AllowBackups() {
    HANDLE token = nullptr;
    TOKEN_PRIVILEGES privileges = {1, {{{}, SE_PRIVILEGE_ENABLED}}};
    OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token);
    LookupPrivilegeValueW(nullptr, L"SeBackupPrivilege", &privileges.Privileges[0].Luid);
    AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr);
    CloseHandle(token);
}

bool Save(HKEY root, const wchar_t* path, const std::wstring& file) {
    HKEY key = nullptr;
    const bool saved = RegOpenKeyExW(root, path, 0, KEY_READ, &key) == ERROR_SUCCESS &&
                       RegSaveKeyW(key, file.c_str(), nullptr) == ERROR_SUCCESS;
    RegCloseKey(key);
    return saved;
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        return 3;
    }
    AllowBackups();
    const std::wstring folder = arguments[1];
    const bool machine = Save(HKEY_LOCAL_MACHINE, L"", folder + L"\\system.reg");
    const bool user = Save(HKEY_CURRENT_USER, L"", folder + L"\\user.reg");
    const bool everyUser = Save(HKEY_USERS, L".DEFAULT", folder + L"\\userdef.reg");
    return machine && user && everyUser ? 0 : 1;
}
