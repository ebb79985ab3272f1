#include "tests/corpus/registrysnapshot.h"

#include <cstdio>
#include <iostream>
#include <string>

// Usage: registrykeeper
// Gives every program that it starts the same registry. Reads orders from its input, one a line, and answers
// each with a line that contains one number:
//   save FOLDER    saves HKEY_LOCAL_MACHINE as the file `machine` and HKEY_USERS as the file `users`, in the
//                  system's format for hives. The files must not exist. Answer: the first failure or 0.
//   keep           remembers the content of both keys. Answer: 0.
//   restore        restores the content that the last `keep` remembered. Answer: 0.
//   run COMMAND    runs a command. Answer: its exit status; 4294967294 if it can't be started or takes too
//                  long.
// The answer to any other order is 1.

namespace {

using namespace keyreap::corpus;

constexpr DWORD watchdogMilliseconds = 1'000'000;
constexpr DWORD notRun = 0xFFFFFFFE;

std::wstring Widened(const std::string& text) {
    std::wstring wide(text.size(), L'\0');
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                           wide.data(), static_cast<int>(wide.size()));
    wide.resize(static_cast<std::size_t>(length));
    return wide;
}

// RegSaveKeyW requires this privilege.
void EnableBackup() {
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token)) {
        return;
    }
    TOKEN_PRIVILEGES privileges = {};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    LookupPrivilegeValueW(nullptr, SE_BACKUP_NAME, &privileges.Privileges[0].Luid);
    AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr);
    CloseHandle(token);
}

DWORD Save(const std::wstring& folder) {
    LSTATUS status = RegSaveKeyW(HKEY_LOCAL_MACHINE, (folder + L"\\machine").c_str(), nullptr);
    if (status == ERROR_SUCCESS) {
        status = RegSaveKeyW(HKEY_USERS, (folder + L"\\users").c_str(), nullptr);
    }
    return static_cast<DWORD>(status);
}

DWORD WaitFor(HANDLE process) {
    DWORD status = notRun;
    if (WaitForSingleObject(process, watchdogMilliseconds) == WAIT_OBJECT_0) {
        GetExitCodeProcess(process, &status);
    } else {
        TerminateProcess(process, notRun);
    }
    return status;
}

DWORD Run(std::wstring command) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process)) {
        return notRun;
    }
    const DWORD status = WaitFor(process.hProcess);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return status;
}

// Wine writes to the registry whenever a desktop is opened. A desktop stays open as long as a process uses
// it.
void StayOnDesktop() {
    GetDesktopWindow();
}

class Keeper {
public:
    DWORD Obey(const std::wstring& order) {
        const std::size_t blank = order.find(L' ');
        const std::wstring verb = order.substr(0, blank);
        const std::wstring rest = blank == std::wstring::npos ? std::wstring() : order.substr(blank + 1);
        if (verb == L"save") {
            return Save(rest);
        }
        if (verb == L"run") {
            return Run(rest);
        }
        if (verb == L"keep") {
            machine = RegistrySnapshot(HKEY_LOCAL_MACHINE);
            users = RegistrySnapshot(HKEY_USERS);
            return ERROR_SUCCESS;
        }
        if (verb == L"restore") {
            machine.Restore(HKEY_LOCAL_MACHINE);
            users.Restore(HKEY_USERS);
            return ERROR_SUCCESS;
        }
        return ERROR_INVALID_FUNCTION;
    }

private:
    RegistrySnapshot machine;
    RegistrySnapshot users;
};

} // namespace

int main() {
    EnableBackup();
    StayOnDesktop();
    Keeper keeper;
    for (std::string order; std::getline(std::cin, order);) {
        std::cout << keeper.Obey(Widened(order)) << std::endl;
    }
    return 0;
}
