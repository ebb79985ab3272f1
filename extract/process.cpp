#include "extract/process.h"

#include "platform/core/wow64entry.h"

namespace keyreap {

std::optional<StartedProcess> StartProcess(const std::wstring& application, std::wstring commandLine,
                                           DWORD flags) {
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION information{};
    if (!CreateProcessW(application.empty() ? nullptr : application.c_str(),
                        commandLine.empty() ? nullptr : commandLine.data(), nullptr, nullptr, FALSE, flags,
                        nullptr, nullptr, &startup, &information)) {
        return std::nullopt;
    }
    return StartedProcess{OwnedHandle(information.hProcess), OwnedHandle(information.hThread),
                          information.dwProcessId};
}

namespace {

bool StartAndWait(const std::wstring& application, const std::wstring& commandLine, DWORD* exitStatus) {
    const std::optional<StartedProcess> started =
        StartProcess(application, commandLine, NORMAL_PRIORITY_CLASS);
    if (!started) {
        if (exitStatus) {
            *exitStatus = GetLastError();
        }
        return false;
    }
    if (exitStatus) {
        WaitForSingleObject(started->process.Get(), INFINITE);
        GetExitCodeProcess(started->process.Get(), exitStatus);
    }
    return true;
}

} // namespace

bool RunAndWait(const std::wstring& application, const std::wstring& commandLine, DWORD* exitStatus) {
    // Reverted at the end as in the copy of a system file, though nothing is ever suspended here.
    FsRedirectionGuard guard;
    const bool started = StartAndWait(application, commandLine, exitStatus);
    RevertFsRedirection(guard);
    return started;
}

} // namespace keyreap
