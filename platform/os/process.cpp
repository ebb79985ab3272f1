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
        // Wine would read the missing command line.
        SetLastError(ERROR_INVALID_PARAMETER);
        return std::nullopt;
    }
    // Under Wine, one start in some thousands fails with this error before any code of the program has run.
    constexpr DWORD passingFailure = ERROR_INTERNAL_ERROR;
    constexpr int attempts = 3;
    PROCESS_INFORMATION information{};
    for (int attempt = 1; !Create(application, commandLine, flags, information); ++attempt) {
        if (GetLastError() != passingFailure || attempt == attempts) {
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
    // Reverted as after the copy of a system file, although nothing is suspended here.
    FsRedirectionGuard guard;
    const bool started = StartAndWait(application, commandLine, exitStatus);
    RevertFsRedirection(guard);
    return started;
}

} // namespace keyreap
