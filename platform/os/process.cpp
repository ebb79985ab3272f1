#include "platform/os/process.h"

#include "platform/os/wow64entry.h"

namespace keyreap {

namespace {

bool Create(const std::wstring& application, std::wstring commandLine, DWORD flags,
            PROCESS_INFORMATION& information) {
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    return CreateProcessW(application.empty() ? nullptr : application.c_str(),
                          commandLine.empty() ? nullptr : commandLine.data(), nullptr, nullptr, FALSE, flags,
                          nullptr, nullptr, &startup, &information) != FALSE;
}

} // namespace

std::optional<StartedProcess> StartProcess(const std::wstring& application, const std::wstring& commandLine,
                                           DWORD flags) {
    if (application.empty() && commandLine.empty()) {
        // Wine's call would read the command line that isn't there.
        SetLastError(ERROR_INVALID_PARAMETER);
        return std::nullopt;
    }
    // Of some thousand starts under Wine one comes to nothing before any code of the program ran, with this
    // error.
    constexpr DWORD cameToNothing = ERROR_INTERNAL_ERROR;
    constexpr int attempts = 3;
    PROCESS_INFORMATION information{};
    for (int attempt = 1; !Create(application, commandLine, flags, information); ++attempt) {
        if (GetLastError() != cameToNothing || attempt == attempts) {
            return std::nullopt;
        }
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
