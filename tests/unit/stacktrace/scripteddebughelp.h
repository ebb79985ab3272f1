#pragma once

#include "platform/core/stacktrace/debughelp.h"

#include <string>
#include <vector>

namespace keyreap::testsupport {

struct ScriptedFrame {
    DWORD64 address;
    std::string function;
    std::string file;
    DWORD line = 0;
};

// Debug help that plays a stack and records its calls. One object at a time, since entry points carry no
// state.
class ScriptedDebugHelp {
public:
    explicit ScriptedDebugHelp(std::vector<ScriptedFrame> stack = {});
    ~ScriptedDebugHelp();
    ScriptedDebugHelp(const ScriptedDebugHelp&) = delete;
    ScriptedDebugHelp& operator=(const ScriptedDebugHelp&) = delete;

    const DebugHelp& EntryPoints() const { return help; }

    std::vector<ScriptedFrame> frames;
    BOOL invadeResult = TRUE;     // of an initialisation that lists the modules itself
    BOOL initializeResult = TRUE; // of an initialisation that doesn't
    BOOL setSearchPathResult = TRUE;

    std::vector<std::string> calls;
    DWORD options = 0;
    HANDLE process = nullptr;
    std::vector<DWORD64> modules;
    std::string searchPath;
    DWORD machineType = 0;
    STACKFRAME64 firstFrame = {};
    ULONG symbolSize = 0;
    ULONG longestName = 0;
    DWORD lineSize = 0;

private:
    DebugHelp help;
};

} // namespace keyreap::testsupport
