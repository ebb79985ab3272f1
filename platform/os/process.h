#pragma once

#include "platform/os/ownedhandle.h"

#include <optional>
#include <string>

namespace keyreap {

// A started process and its first thread.
struct StartedProcess {
    OwnedHandle process;
    OwnedHandle thread;
    DWORD id = 0;
};

// Starts a program with the parent's environment and directory and no inherited handles. `flags` are those of
// CreateProcessW. An empty application or command line is passed as null; if both are empty, nothing is
// started. Empty, with the reason in GetLastError, if the program can't be started.
std::optional<StartedProcess> StartProcess(const std::wstring& application, const std::wstring& commandLine,
                                           DWORD flags);

// Starts a program. If `exitStatus` isn't null, waits for the end, however long that takes, and sets the exit
// status. False, with the error code in `exitStatus`, if the program can't be started.
bool RunAndWait(const std::wstring& application, const std::wstring& commandLine, DWORD* exitStatus);

} // namespace keyreap
