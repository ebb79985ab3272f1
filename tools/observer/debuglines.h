#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// The channels of Wine's debug output that are read, in the form of WINEDEBUG. In a run without an exception
// they write only a line for each module that is loaded. Of dbghelp only the traces are on: its warnings
// contain names of functions, and Wine 8 ends a 32-bit process that writes a debug line of more than about
// 1000 bytes.
inline constexpr const char* observedChannels = "-all,+pid,+seh,+loaddll,trace+dbghelp";

// A module as Wine reports its loading.
struct LoadedModule {
    std::string path; // with backslashes, in UTF-8
    std::uint64_t base = 0;
    std::uint64_t size = 0; // 0 if unknown
    bool isNative = false;  // the file is no part of Wine
    bool is32Bit = false;
};

// The end of a process, as far as it can be seen before the process has ended.
struct Crash {
    std::string process;
    std::uint32_t code = 0; // 0 for a run time's abort
    std::vector<std::uint64_t> frames;
};

// Follows the lines of debug output of all processes of a session. An exception counts as a crash if the
// program's filter has begun its stack trace or Wine reports it as unhandled, and so does a run time's abort:
// any other exception may still be caught.
class DebugLines {
public:
    // Takes a line without its line end, from its process id on.
    void Take(std::string_view line);

    const std::vector<Crash>& Crashes() const { return crashes; }

    // The modules of a process in the order of loading.
    std::vector<LoadedModule> ModulesOf(const std::string& process) const;

private:
    struct Thread {
        Crash raised;             // the last exception that was dispatched
        bool isPresented = false; // its stack trace has begun
        bool hasRaised = false;
        std::size_t crash = 0; // its index in `crashes`, if it is presented
    };

    void TakeExceptionLine(const std::string& process, Thread& thread, std::string_view text);
    void TakeModuleLine(const std::string& process, std::string_view text);
    void TakeModuleRange(const std::string& process, std::string_view text);
    void TakeDebugHelpLine(const std::string& process, Thread& thread, std::string_view text);

    std::map<std::string, Thread, std::less<>> threads;
    std::map<std::string, std::vector<LoadedModule>, std::less<>> modules;
    std::vector<Crash> crashes;
};

// The size of a module whose lines don't contain it, or 0.
using SizeOfModule = std::function<std::uint64_t(const LoadedModule& module)>;

// The crash that explains the status of the session's command (the low 8 bits of a process's status), in
// words: what happened, and in which module. Empty if there was none.
std::string CrashText(const DebugLines& lines, int status, const SizeOfModule& sizeOf);

} // namespace keyreap
