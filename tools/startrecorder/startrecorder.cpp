// startrecorder PROBE...: prints what the system itself changes in the registry when it starts a program, in
// the form of SystemStart. Each PROBE is this program in a build for another machine. The session must have a
// request log. Exits with 0, or with 1 if the log can't be read or a probe fails.
//
// startrecorder --probe: loads every module of the system folder. That covers everything that the start of
// any program can make the system do: a module that a program imports is initialised before the program's
// entry point, and does the same when it is loaded later. Then the process ends without unloading any module.
// Exits with 0, or with 1 if no module could be loaded.
#include "hostlogger/requestlog.h"
#include "platform/core/text/compare.h"
#include "platform/os/ownedhandle.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

namespace {

constexpr wchar_t probeWord[] = L"--probe";

// Extensions of modules that programs import or load. Kernel drivers (sys) aren't among them.
constexpr std::array<std::wstring_view, 6> moduleExtensions = {L".dll", L".drv", L".ocx",
                                                               L".acm", L".ax",  L".cpl"};

bool IsModule(const std::wstring& name) {
    return std::ranges::any_of(moduleExtensions, [folded = FoldedText(name)](std::wstring_view extension) {
        return folded.ends_with(extension);
    });
}

std::wstring SystemFolder() {
    std::array<wchar_t, MAX_PATH> folder{};
    const UINT length = GetSystemDirectoryW(folder.data(), static_cast<UINT>(folder.size()));
    return std::wstring(folder.data(), length < folder.size() ? length : 0);
}

std::vector<std::wstring> SystemModules() {
    std::vector<std::wstring> modules;
    WIN32_FIND_DATAW found{};
    const OwnedFindHandle search(FindFirstFileW((SystemFolder() + L"\\*").c_str(), &found));
    for (BOOL more = search.Valid(); more; more = FindNextFileW(search.Get(), &found)) {
        if (IsModule(found.cFileName)) {
            modules.emplace_back(found.cFileName);
        }
    }
    return modules;
}

[[noreturn]] void Probe() {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    UINT loaded = 0;
    for (const std::wstring& name : SystemModules()) {
        if (LoadLibraryW(name.c_str())) {
            ++loaded;
        }
    }
    TerminateProcess(GetCurrentProcess(), loaded == 0 ? 1 : 0);
    ExitProcess(1);
}

// How often a start makes each change, by the line of the change.
using Changes = std::map<std::string, unsigned>;

// Collects the changes that one process makes.
class ChangeCollector : public KeyRequestListener {
public:
    ChangeCollector(std::uint32_t processId, KeyFacts& facts) : processId(processId), facts(facts) {}

    void OnKeyRequest(const KeyRequest& request) override {
        if (request.processId == processId && SystemStart::IsChange(request)) {
            ++changes[SystemStart::LineOf(request, facts)];
        }
    }
    void OnLostLines() override {}
    void OnMissingKey(const std::wstring&) override {}

    const Changes& Seen() const { return changes; }

private:
    std::uint32_t processId;
    KeyFacts& facts;
    Changes changes;
};

// Runs a probe to its end and returns its process id, or 0 if it failed. The handle keeps the id from being
// used again.
std::uint32_t RunProbe(const std::wstring& program, OwnedHandle& process) {
    std::wstring commandLine = L"\"" + program + L"\" " + probeWord;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &started)) {
        return 0;
    }
    CloseHandle(started.hThread);
    process = OwnedHandle(started.hProcess);
    DWORD status = 1;
    WaitForSingleObject(process.Get(), INFINITE);
    GetExitCodeProcess(process.Get(), &status);
    return status == 0 ? started.dwProcessId : 0;
}

// Raises each count to that of this probe's start if that is higher.
bool Record(RequestLog& log, const std::wstring& program, Changes& recorded) {
    OwnedHandle process;
    if (!log.ReadToNow(nullptr)) {
        return false;
    }
    const std::uint32_t processId = RunProbe(program, process);
    ChangeCollector collector(processId, log.Facts());
    if (processId == 0 || !log.ReadToNow(&collector) || !log.IsComplete()) {
        return false;
    }
    for (const auto& [line, count] : collector.Seen()) {
        unsigned& most = recorded[line];
        most = std::max(most, count);
    }
    return true;
}

bool Print(const Changes& recorded) {
    std::string text;
    for (const auto& [line, count] : recorded) {
        for (unsigned copy = 0; copy < count; ++copy) {
            text += line + '\n';
        }
    }
    DWORD written = 0;
    return WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written,
                     nullptr) &&
           written == text.size();
}

// What a start does depends on what ran before: the first start of a session creates keys that later ones
// find, and the first one after a program of the other machine writes the names of the fonts again. So each
// probe runs twice, the second time after all other probes.
int RecordAll(const std::vector<std::wstring>& probes) {
    RequestLog log(RequestLogPath());
    if (!log.Open()) {
        std::cerr << "startrecorder: the session has no request log\n";
        return 1;
    }
    log.SetSystemStart(SystemStart::OfNoChanges());
    Changes recorded;
    for (int round = 0; round < 2; ++round) {
        for (const std::wstring& probe : probes) {
            if (!Record(log, probe, recorded)) {
                std::wcerr << L"startrecorder: the start of " << probe << L" could not be recorded\n";
                return 1;
            }
        }
    }
    return Print(recorded) ? 0 : 1;
}

} // namespace

} // namespace keyreap

int wmain(int count, wchar_t** words) {
    const std::vector<std::wstring> arguments(words + 1, words + count);
    if (arguments.empty()) {
        std::cerr << "usage: startrecorder PROBE...\n";
        return 2;
    }
    if (arguments.front() == keyreap::probeWord) {
        keyreap::Probe();
    }
    return keyreap::RecordAll(arguments);
}
