#pragma once

#include "platform/os/ownedhandle.h"

// The file system redirection of the 64-bit compatibility layer, whose entry points are not on every system.
namespace keyreap {

using Wow64DisableEntry = BOOL(WINAPI*)(PVOID* savedValue);
using Wow64RevertEntry = BOOL(WINAPI*)(PVOID savedValue);

// What a lookup found; an entry that the system lacks stays null.
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

// Resolves the process-wide entry points, once, and gives them.
const Wow64Entry& EnsureWow64Entry();

// Ends a suspension and clears its flag; does nothing on a guard that is not set or without the entry.
void RevertFsRedirection(FsRedirectionGuard& guard);

// The same two on a record of the caller's own.
void EnsureWow64Entry(Wow64Entry& entry);
void RevertFsRedirection(FsRedirectionGuard& guard, const Wow64Entry& entry);

} // namespace keyreap
