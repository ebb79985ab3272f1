#pragma once

#include <windows.h>

#include <dbghelp.h>

namespace keyreap {

// Entry points of the system's debug help library; each is null if the library lacks it.
struct DebugHelp {
    decltype(&::SymSetOptions) setOptions = nullptr;
    decltype(&::SymInitialize) initialize = nullptr;
    decltype(&::SymLoadModuleEx) loadModule = nullptr;
    decltype(&::SymSetSearchPath) setSearchPath = nullptr;
    decltype(&::StackWalk64) stackWalk = nullptr;
    decltype(&::SymFunctionTableAccess64) functionTableAccess = nullptr;
    decltype(&::SymGetModuleBase64) getModuleBase = nullptr;
    decltype(&::SymFromAddr) fromAddress = nullptr;
    decltype(&::SymGetLineFromAddr64) getLineFromAddress = nullptr;
    decltype(&::SymCleanup) cleanup = nullptr;

    bool IsComplete() const;
};

// The entry points of Dbghelp.dll, looked up once for the process; the library stays loaded.
const DebugHelp& SystemDebugHelp();

} // namespace keyreap
