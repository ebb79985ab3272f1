#include "platform/core/stacktrace/debughelp.h"

#include "platform/os/entrypoint.h"

namespace keyreap {

namespace {

template <typename EntryPoint>
void Resolve(HMODULE library, const char* name, EntryPoint& entryPoint) {
    entryPoint = FindEntryPoint<EntryPoint>(library, name);
}

DebugHelp ResolveDebugHelp() {
    DebugHelp help;
    const HMODULE library = LoadLibraryA("Dbghelp.dll");
    Resolve(library, "SymSetOptions", help.setOptions);
    Resolve(library, "SymInitialize", help.initialize);
    Resolve(library, "SymLoadModuleEx", help.loadModule);
    Resolve(library, "SymSetSearchPath", help.setSearchPath);
    Resolve(library, "StackWalk64", help.stackWalk);
    Resolve(library, "SymFunctionTableAccess64", help.functionTableAccess);
    Resolve(library, "SymGetModuleBase64", help.getModuleBase);
    Resolve(library, "SymFromAddr", help.fromAddress);
    Resolve(library, "SymGetLineFromAddr64", help.getLineFromAddress);
    Resolve(library, "SymCleanup", help.cleanup);
    return help;
}

} // namespace

bool DebugHelp::IsComplete() const {
    return setOptions && initialize && loadModule && setSearchPath && stackWalk && functionTableAccess &&
           getModuleBase && fromAddress && getLineFromAddress && cleanup;
}

const DebugHelp& SystemDebugHelp() {
    static const DebugHelp help = ResolveDebugHelp();
    return help;
}

} // namespace keyreap
