#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// The channels of Wine's debug output that are followed, as WINEDEBUG has them. All are quiet in a run
// without an exception, but for a line for each module that is loaded.
inline constexpr const char* observedChannels = "-all,+pid,+seh,+loaddll,+dbghelp";

// A module as Wine reports its loading.
struct LoadedModule {
    std::string path; // with backslashes, in UTF-8
    std::uint64_t base = 0;
    std::uint64_t size = 0; // 0 if it isn't known
    bool isNative = false;  // a file that is no part of Wine
    bool is32Bit = false;
};

// The end of a process, as far as it can be seen before the process has ended.
struct Crash {
    std::string process;
    std::uint32_t code = 0; // 0 for a run time's abort
    std::vector<std::uint64_t> frames;
};

// Follows the lines of debug output of all processes of a session. What is taken for a crash is an exception
// for which the program's filter has begun its stack trace, one that Wine reports as unhandled, or a run
// time's abort: any other exception may still be caught.
class DebugLines {
public:
    // A line without its line end, from its process id on.
    void Take(std::string_view line);

    const std::vector<Crash>& Crashes() const { return crashes; }

    // The modules of a process in the order of loading.
    std::vector<LoadedModule> ModulesOf(const std::string& process) const;

private:
    struct Thread {
        Crash raised;             // the last exception that was dispatched
        bool isPresented = false; // its stack trace has begun
        bool hasRaised = false;
        std::size_t crash = 0; // its place in `crashes`, if it is presented
    };

    void TakeExceptionLine(const std::string& process, Thread& thread, std::string_view text);
    void TakeModuleLine(const std::string& process, std::string_view text);
    void TakeModuleRange(const std::string& process, std::string_view text);
    void TakeDebugHelpLine(const std::string& process, Thread& thread, std::string_view text);

    std::map<std::string, Thread, std::less<>> threads;
    std::map<std::string, std::vector<LoadedModule>, std::less<>> modules;
    std::vector<Crash> crashes;
};

// The size of a module whose size isn't known from its lines, or 0.
using SizeOfModule = std::function<std::uint64_t(const LoadedModule& module)>;

// The crash that the status of the session's command (the low 8 bits of a process's) goes back to, in words:
// what, and in which module. Empty if there was none.
std::string CrashText(const DebugLines& lines, int status, const SizeOfModule& sizeOf);

} // namespace keyreap
