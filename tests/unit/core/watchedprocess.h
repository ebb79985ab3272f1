#pragma once

#include "platform/os/ownedhandle.h"

#include <windows.h>

#include <string>

namespace keyreap::testsupport {

// A program that may hang. The destructor ends it by force.
class WatchedProcess {
public:
    static constexpr DWORD stillRunning = STILL_ACTIVE;

    explicit WatchedProcess(std::wstring commandLine);
    ~WatchedProcess();
    WatchedProcess(const WatchedProcess&) = delete;
    WatchedProcess& operator=(const WatchedProcess&) = delete;

    DWORD Id() const { return id; }

    // The exit status, or stillRunning if the process doesn't end in a minute.
    DWORD Wait() const;

private:
    OwnedHandle process;
    DWORD id = 0;
};

// The command line of the program fault_program, which is beside this one and faults in the given way.
std::wstring FaultCommand(const std::wstring& fault);

} // namespace keyreap::testsupport
