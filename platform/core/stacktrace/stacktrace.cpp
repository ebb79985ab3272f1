#include "platform/core/stacktrace/stacktrace.h"

#include "platform/core/stacktrace/debughelp.h"

#include <psapi.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace keyreap {

namespace {

constexpr DWORD symbolOptions = SYMOPT_DEBUG | SYMOPT_LOAD_LINES | SYMOPT_DEFERRED_LOADS | SYMOPT_UNDNAME;
constexpr std::size_t symbolBufferSize = 4088;
constexpr ULONG longestSymbolName = 2000;

#if defined(_WIN64)
constexpr DWORD machineType = IMAGE_FILE_MACHINE_AMD64;
#else
constexpr DWORD machineType = IMAGE_FILE_MACHINE_I386;
#endif

// The debug help library serves one caller at a time: the one that holds this object. The critical section
// lives as long as the process. Its owner can enter it again, so that a fault inside the walk can be
// reported.
class WalkTurn {
public:
    WalkTurn() { EnterCriticalSection(&Section()); }
    ~WalkTurn() { LeaveCriticalSection(&Section()); }
    WalkTurn(const WalkTurn&) = delete;
    WalkTurn& operator=(const WalkTurn&) = delete;

private:
    struct MadeSection {
        MadeSection() { InitializeCriticalSection(&section); }
        CRITICAL_SECTION section;
    };

    static CRITICAL_SECTION& Section() {
        static MadeSection made;
        return made.section;
    }
};

ADDRESS64 FlatAddress(DWORD64 offset) {
    ADDRESS64 address = {};
    address.Offset = offset;
    address.Mode = AddrModeFlat;
    return address;
}

STACKFRAME64 FirstFrame(const CONTEXT& context) {
    STACKFRAME64 frame = {};
#if defined(_WIN64)
    frame.AddrPC = FlatAddress(context.Rip);
    frame.AddrFrame = FlatAddress(context.Rbp);
    frame.AddrStack = FlatAddress(context.Rsp);
#else
    frame.AddrPC = FlatAddress(context.Eip);
    frame.AddrFrame = FlatAddress(context.Ebp);
    frame.AddrStack = FlatAddress(context.Esp);
#endif
    return frame;
}

// Null means the program itself.
std::string ModulePath(HMODULE module) {
    std::array<char, MAX_PATH> path = {};
    GetModuleFileNameA(module, path.data(), static_cast<DWORD>(path.size()));
    return {path.data(), strnlen(path.data(), path.size())};
}

// The folder of the running program, where symbol files are looked for.
std::string ProgramFolder() {
    const std::string path = ModulePath(nullptr);
    return path.substr(0, path.rfind('\\'));
}

std::vector<HMODULE> LoadedModules() {
    std::vector<HMODULE> modules(1024);
    DWORD bytes = 0;
    EnumProcessModules(GetCurrentProcess(), modules.data(),
                       static_cast<DWORD>(modules.size() * sizeof(HMODULE)), &bytes);
    modules.resize(std::min<std::size_t>(modules.size(), bytes / sizeof(HMODULE)));
    return modules;
}

// One use of the symbol handler, from its start to its clean-up.
class SymbolSession {
public:
    SymbolSession(const DebugHelp& help, HANDLE process) : help(help), process(process) {
        help.setOptions(symbolOptions);
        ready = (help.initialize(process, nullptr, TRUE) || InitializeByModules()) && SetSymbolSearchPath({});
    }
    ~SymbolSession() { help.cleanup(process); }
    SymbolSession(const SymbolSession&) = delete;
    SymbolSession& operator=(const SymbolSession&) = delete;

    bool IsReady() const { return ready; }

    bool WalkOn(STACKFRAME64& frame, CONTEXT& context) const {
        return help.stackWalk(machineType, process, GetCurrentThread(), &frame, &context, nullptr,
                              help.functionTableAccess, help.getModuleBase, nullptr);
    }

    std::wstring FormatFrame(DWORD64 address) const {
        return FrameText(address, FunctionText(SymbolName(address)), FormatFrameLineInfo(address));
    }

private:
    // Wine's library can't list the modules of a 32-bit process on a 64-bit host by itself, but accepts a
    // list.
    bool InitializeByModules() const {
        if (!help.initialize(process, nullptr, FALSE)) {
            return false;
        }
        for (const HMODULE module : LoadedModules()) {
            help.loadModule(process, nullptr, ModulePath(module).c_str(), nullptr,
                            reinterpret_cast<std::uintptr_t>(module), 0, nullptr, 0);
        }
        return true;
    }

    bool SetSymbolSearchPath(const std::string& path) const {
        return help.setSearchPath(process, (path.empty() ? ProgramFolder() : path).c_str()) == TRUE;
    }

    std::optional<std::string> SymbolName(DWORD64 address) const {
        alignas(SYMBOL_INFO) std::array<std::byte, symbolBufferSize> buffer = {};
        auto* symbol = reinterpret_cast<SYMBOL_INFO*>(buffer.data());
        symbol->SizeOfStruct = sizeof(SYMBOL_INFO);
        symbol->MaxNameLen = longestSymbolName;
        if (!help.fromAddress(process, address, nullptr, symbol)) {
            return std::nullopt;
        }
        return symbol->Name;
    }

    std::wstring FormatFrameLineInfo(DWORD64 address) const {
        IMAGEHLP_LINE64 line = {};
        line.SizeOfStruct = sizeof(line);
        DWORD displacement = 0;
        if (!help.getLineFromAddress(process, address, &displacement, &line)) {
            return {};
        }
        return LineText(line.FileName, line.LineNumber);
    }

    const DebugHelp& help;
    HANDLE process;
    bool ready = false;
};

void AppendFrames(std::wstring& text, const SymbolSession& symbols, CONTEXT context, int maxFrames) {
    STACKFRAME64 frame = FirstFrame(context);
    for (int count = 0; count < maxFrames && symbols.WalkOn(frame, context); ++count) {
        text += symbols.FormatFrame(frame.AddrPC.Offset);
        if (count == maxFrames - 1) {
            text += moreFramesLine;
        }
    }
}

} // namespace

void AppendStackTrace(std::wstring& text, const CONTEXT* context, int maxFrames, const DebugHelp& debugHelp) {
    if (!context || !debugHelp.IsComplete()) {
        return;
    }
    const WalkTurn turn;
    const SymbolSession symbols(debugHelp, GetCurrentProcess());
    if (!symbols.IsReady()) {
        return;
    }
    text += StackTraceHeader;
    AppendFrames(text, symbols, *context, maxFrames);
    text += ClosingLine(reinterpret_cast<std::uintptr_t>(GetModuleHandleW(nullptr)));
}

void AppendStackTrace(std::wstring& text, const CONTEXT* context, int maxFrames) {
    AppendStackTrace(text, context, maxFrames, SystemDebugHelp());
}

} // namespace keyreap
