#include "tests/unit/core/watchedprocess.h"

#include <gtest/gtest.h>

namespace keyreap::testsupport {

WatchedProcess::WatchedProcess(std::wstring commandLine) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started = {};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &started)) {
        ADD_FAILURE() << "a program does not start: " << GetLastError();
        return;
    }
    CloseHandle(started.hThread);
    process.Reset(started.hProcess);
    id = started.dwProcessId;
}

WatchedProcess::~WatchedProcess() {
    if (process.Valid()) {
        TerminateProcess(process.Get(), stillRunning);
    }
}

DWORD WatchedProcess::Wait() const {
    constexpr DWORD watchdog = 60'000;
    WaitForSingleObject(process.Get(), watchdog);
    DWORD status = stillRunning;
    GetExitCodeProcess(process.Get(), &status);
    return status;
}

std::wstring FaultCommand(const std::wstring& fault) {
    wchar_t path[1024] = {};
    GetModuleFileNameW(nullptr, path, 1024);
    const std::wstring own(path);
    return L"\"" + own.substr(0, own.rfind(L'\\')) + L"\\fault_program.exe\" " + fault;
}

} // namespace keyreap::testsupport
