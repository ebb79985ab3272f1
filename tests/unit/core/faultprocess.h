#pragma once

#include <windows.h>

#include <string>

#include "platform/os/ownedhandle.h"

namespace keyreap::testsupport {

// The program fault_program, started with the name of a fault. Ended by force with this object.
class FaultProcess {
public:
    static constexpr DWORD unwound = 77; // the status if a destructor ran
    static constexpr DWORD stillRunning = STILL_ACTIVE;

    explicit FaultProcess(const std::wstring& fault);
    ~FaultProcess();
    FaultProcess(const FaultProcess&) = delete;
    FaultProcess& operator=(const FaultProcess&) = delete;

    DWORD Id() const { return id; }

    // The exit status, or stillRunning if the process doesn't end in a minute.
    DWORD Wait() const;

private:
    OwnedHandle process;
    DWORD id = 0;
};

} // namespace keyreap::testsupport
