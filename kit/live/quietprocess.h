#pragma once

#include "platform/os/ownedhandle.h"

#include <cstdint>
#include <string>

namespace keyreap {

struct QuietRun {
    bool isStarted = false;
    std::uint32_t status = 0; // the exit status; the error, if it couldn't be started
};

// A handle of the device that discards everything, which other programs inherit.
OwnedFile DiscardingFile();

// Runs a program up to its end, however long that takes. It reads nothing, and what it prints goes to
// `output`, which is one that it can inherit. What it starts itself isn't waited for.
QuietRun RunQuietly(const std::wstring& program, const std::wstring& line, HANDLE output);

} // namespace keyreap
