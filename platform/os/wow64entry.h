#pragma once

#include "platform/os/ownedhandle.h"

// File system redirection for 32-bit programs on 64-bit Windows. Some systems lack its entry points.
namespace keyreap {

using Wow64DisableEntry = BOOL(WINAPI*)(PVOID* savedValue);
using Wow64RevertEntry = BOOL(WINAPI*)(PVOID savedValue);

// The result of a look-up; an entry that the system lacks stays null.
struct Wow64Entry {
    bool isResolved = false;
    OwnedModule kernel;
    Wow64DisableEntry disable = nullptr;
    Wow64RevertEntry revert = nullptr;
};

// A suspension of the redirection. Whoever suspends it calls the disable entry of EnsureWow64Entry(), if
// there is one, with `savedValue`, and sets `suspended`.
struct FsRedirectionGuard {
    PVOID savedValue = nullptr;
    bool suspended = false;
};

// The process-wide entry points, looked up once.
const Wow64Entry& EnsureWow64Entry();

// Ends a suspension and clears its flag. Does nothing if the guard is not set or the entry is missing.
void RevertFsRedirection(FsRedirectionGuard& guard);

// The same two functions on the caller's own record.
void EnsureWow64Entry(Wow64Entry& entry);
void RevertFsRedirection(FsRedirectionGuard& guard, const Wow64Entry& entry);

} // namespace keyreap
