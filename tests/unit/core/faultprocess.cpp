#include "tests/unit/core/faultprocess.h"

#include <gtest/gtest.h>

namespace keyreap::testsupport {

namespace {

std::wstring FaultProgram() {
    wchar_t path[1024] = {};
    GetModuleFileNameW(nullptr, path, 1024);
    const std::wstring own(path);
    return own.substr(0, own.rfind(L'\\')) + L"\\fault_program.exe";
}

} // namespace

FaultProcess::FaultProcess(const std::wstring& fault) {
    const std::wstring program = FaultProgram();
    std::wstring commandLine = L"\"" + program + L"\" " + fault;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started = {};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &started)) {
        ADD_FAILURE() << "fault_program.exe does not start: " << GetLastError();
        return;
    }
    CloseHandle(started.hThread);
    process.Reset(started.hProcess);
    id = started.dwProcessId;
}

FaultProcess::~FaultProcess() {
    if (process.Valid()) {
        TerminateProcess(process.Get(), stillRunning);
    }
}

DWORD FaultProcess::Wait() const {
    constexpr DWORD watchdog = 60'000;
    WaitForSingleObject(process.Get(), watchdog);
    DWORD status = stillRunning;
    GetExitCodeProcess(process.Get(), &status);
    return status;
}

} // namespace keyreap::testsupport
