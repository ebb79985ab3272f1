#include "platform/core/text/compare.h"
#include "tools/observer/debuglines.h"
#include "tools/observer/exceptionwords.h"

#include <algorithm>
#include <array>

namespace keyreap {

namespace {

constexpr int abortStatus = 3;
constexpr int byteOfStatus = 0x100;

std::string FileName(const std::string& path) {
    return path.substr(path.rfind('\\') + 1);
}

// Libraries of a compiler's run time only pass a failure on.
bool IsRunTime(const std::string& name) {
    constexpr std::array starts = {"libgcc_s", "libstdc++", "libc++", "libunwind", "vcruntime", "msvcp"};
    return std::any_of(starts.begin(), starts.end(),
                       [&name](const char* start) { return name.starts_with(start); });
}

// The modules of the system that raise exceptions for other modules.
bool IsRaising(const std::string& name) {
    return name == "kernelbase.dll" || name == "ntdll.dll";
}

// The program that captures is a native module too, and is on every stack.
bool IsServers(const LoadedModule& module) {
    const std::string name = FoldedBytes(FileName(module.path));
    return module.isNative && name != "keyreap.exe" && !IsRunTime(name);
}

class CrashedProcess {
public:
    CrashedProcess(const DebugLines& lines, const Crash& crash, const SizeOfModule& sizeOf)
        : crash(crash), modules(lines.ModulesOf(crash.process)), sizeOf(sizeOf) {}

    std::string Text() const {
        return crash.code == 0 ? "abort (status 3)" + AfterLoading() : ExceptionWords(crash.code) + Place();
    }

private:
    std::string Place() const {
        const LoadedModule* module = ModuleAt(crash.frames.front());
        if (!module) {
            return " outside of any module" + AfterLoading();
        }
        const std::string name = FileName(module->path);
        const LoadedModule* caller = module->isNative ? nullptr : FirstOfServer();
        if (!IsFault(crash.code) && IsRaising(FoldedBytes(name))) {
            // An exception that a call to the system raises belongs to the caller.
            return caller ? " in " + FileName(caller->path) : AfterLoading();
        }
        return " in " + name + (caller ? ", called by " + FileName(caller->path) : std::string());
    }

    // If the place says nothing, the module that was loaded last is usually the server.
    std::string AfterLoading() const {
        const auto last = std::find_if(modules.rbegin(), modules.rend(), IsServers);
        return last == modules.rend() ? std::string() : ", after " + FileName(last->path) + " was loaded";
    }

    const LoadedModule* FirstOfServer() const {
        for (const std::uint64_t frame : crash.frames) {
            const LoadedModule* module = ModuleAt(frame);
            if (module && IsServers(*module)) {
                return module;
            }
        }
        return nullptr;
    }

    // Of the modules that contain the address, the one that was loaded last.
    const LoadedModule* ModuleAt(std::uint64_t address) const {
        const auto found = std::find_if(modules.rbegin(), modules.rend(), [&](const LoadedModule& module) {
            return address >= module.base && address - module.base < Size(module);
        });
        return found == modules.rend() ? nullptr : &*found;
    }

    std::uint64_t Size(const LoadedModule& module) const {
        return module.size != 0 ? module.size : sizeOf(module);
    }

    const Crash& crash;
    std::vector<LoadedModule> modules;
    const SizeOfModule& sizeOf;
};

// On Linux a status has 8 bits, and is 1 if all of them would be 0.
bool Explains(const Crash& crash, int status) {
    const int low = static_cast<int>(crash.code % byteOfStatus);
    return crash.code == 0 ? status == abortStatus : status == (low != 0 ? low : 1);
}

} // namespace

std::string CrashText(const DebugLines& lines, int status, const SizeOfModule& sizeOf) {
    const auto& crashes = lines.Crashes();
    const auto last = std::find_if(crashes.rbegin(), crashes.rend(),
                                   [status](const Crash& crash) { return Explains(crash, status); });
    return last == crashes.rend() ? std::string() : CrashedProcess(lines, *last, sizeOf).Text();
}

} // namespace keyreap
