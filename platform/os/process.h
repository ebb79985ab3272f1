#pragma once

#include "platform/os/ownedhandle.h"

#include <optional>
#include <string>

namespace keyreap {

// A process just started, and its first thread.
struct StartedProcess {
    OwnedHandle process;
    OwnedHandle thread;
    DWORD id = 0;
};

// Starts a program with the parent's environment and directory and no inherited handles. `flags` are those of
// CreateProcessW; an empty application or command line is passed as null, and two empty ones start nothing.
// Nothing, with the reason in GetLastError, if it can't be started.
std::optional<StartedProcess> StartProcess(const std::wstring& application, const std::wstring& commandLine,
                                           DWORD flags);

// Starts a program and, if `exitStatus` isn't null, waits for its end, however long that takes, and gives its
// exit status. False, with the error code in its place, if it can't be started.
bool RunAndWait(const std::wstring& application, const std::wstring& commandLine, DWORD* exitStatus);

} // namespace keyreap
