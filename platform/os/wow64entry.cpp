#include "platform/os/wow64entry.h"

#include "platform/os/entrypoint.h"

namespace keyreap {

namespace {

using IsWow64ProcessEntry = BOOL(WINAPI*)(HANDLE process, PBOOL isWow64);

Wow64Entry& ProcessEntry() {
    static Wow64Entry entry;
    return entry;
}

} // namespace

void EnsureWow64Entry(Wow64Entry& entry) {
    if (entry.isResolved) {
        return;
    }
    entry.kernel.Reset(LoadLibraryW(L"kernel32.dll"));
    if (!entry.kernel.Valid()) {
        return;
    }
    const HMODULE kernel = entry.kernel.Get();
    entry.disable = FindEntryPoint<Wow64DisableEntry>(kernel, "Wow64DisableWow64FsRedirection");
    entry.revert = FindEntryPoint<Wow64RevertEntry>(kernel, "Wow64RevertWow64FsRedirection");
    if (const auto isWow64Process = FindEntryPoint<IsWow64ProcessEntry>(kernel, "IsWow64Process")) {
        // Called as a part of the look-up; nothing depends on the result.
        BOOL isWow64 = FALSE;
        isWow64Process(GetCurrentProcess(), &isWow64);
    }
    entry.isResolved = true;
}

const Wow64Entry& EnsureWow64Entry() {
    EnsureWow64Entry(ProcessEntry());
    return ProcessEntry();
}

void RevertFsRedirection(FsRedirectionGuard& guard, const Wow64Entry& entry) {
    if (guard.suspended && entry.revert != nullptr) {
        entry.revert(guard.savedValue);
        guard.suspended = false;
    }
}

void RevertFsRedirection(FsRedirectionGuard& guard) {
    RevertFsRedirection(guard, ProcessEntry());
}

} // namespace keyreap
