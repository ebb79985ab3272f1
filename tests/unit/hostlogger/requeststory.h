#pragma once

#include "hostlogger/requesttracker.h"
#include "tests/unit/hostlogger/registrymodel.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// Keeps what a tracker reports.
class RecordingRequests : public KeyRequestListener {
public:
    bool WantsKeyRequests() const override { return wants; }
    void OnKeyRequest(const KeyRequest& request) override { requests.push_back(request); }
    void OnSystemRequest(const KeyRequest& request) override { ofSystem.push_back(request); }
    void OnProcessStart(const ProcessStart& start) override { starts.push_back(start); }
    void OnLostLines() override { ++lost; }
    void OnMissingKey(const std::wstring& name) override { missing.push_back(name); }

    bool wants = true;
    std::vector<KeyRequest> requests;
    std::vector<KeyRequest> ofSystem;
    std::vector<ProcessStart> starts;
    std::vector<std::wstring> missing;
    int lost = 0;
};

// The fields of a request to create or open a key apart from its name, and what the server answers.
struct KeyQuestion {
    std::uint32_t parent = 0;
    std::uint32_t access = 0x000F003F;
    std::uint32_t attributes = 0x40;
    std::string realPath = {}; // in the form REGISTRY\Machine; not reported if empty
    std::string status = "0";
};

// What happens in a prefix, as lines of the server's request log, which are fed to a tracker. Handles,
// process ids and thread ids are the numbers given. A member adds a request with its reply; the request
// succeeds unless a status says otherwise.
class RequestStory {
public:
    static constexpr std::uint32_t self = 0xFFFFFFFF; // the handle of the process itself
    static constexpr const char* machine32 = "014c";
    static constexpr const char* machine64 = "8664";

    void Line(std::string_view line);

    // A process with one thread that runs its own code.
    void Process(std::uint32_t process, std::uint32_t thread, const char* machine = machine64);
    void FirstThread(std::uint32_t process, std::uint32_t thread);
    void MapImage(std::uint32_t thread, const char* machine, const char* flags = "04");
    void ReachEntryPoint(std::uint32_t thread, std::uint32_t process = self);
    // With 4 in `flags` the child inherits handles: those listed in `handles`, or all if it is empty.
    void NewProcess(std::uint32_t thread, std::uint32_t child, std::uint32_t handle, std::uint32_t flags = 0,
                    std::string_view handles = {}, std::uint32_t parent = 0, std::string_view image = {});
    void NewThread(std::uint32_t thread, std::uint32_t process, std::uint32_t newThread);
    void OpenProcess(std::uint32_t thread, std::uint32_t process, std::uint32_t handle);
    void KillThread(std::uint32_t thread);
    void KillProcess(std::uint32_t process);

    void Create(std::uint32_t thread, std::string_view name, std::uint32_t handle, const KeyQuestion& = {});
    void Open(std::uint32_t thread, std::string_view name, std::uint32_t handle, const KeyQuestion& = {});
    void UnansweredOpen(std::uint32_t thread);
    void SetValue(std::uint32_t thread, std::uint32_t handle, std::string_view name,
                  std::string_view status = "0");
    void DeleteValue(std::uint32_t thread, std::uint32_t handle, std::string_view name);
    void QueryValue(std::uint32_t thread, std::uint32_t handle, std::string_view name);
    void DeleteKey(std::uint32_t thread, std::uint32_t handle, std::string_view status = "0");
    void Rename(std::uint32_t thread, std::uint32_t handle, std::string_view name,
                std::string_view status = "0");

    void Close(std::uint32_t thread, std::uint32_t handle, std::string_view status = "0");
    void SetHandleInfo(std::uint32_t thread, std::uint32_t handle, int flags, int mask);
    // The source and the target are handles of processes.
    void Duplicate(std::uint32_t thread, std::uint32_t source, std::uint32_t handle, std::uint32_t target,
                   std::uint32_t copy, std::uint32_t options = 0, std::uint32_t attributes = 0);

    // The real path of the key of the last reported request; empty if there is none.
    std::wstring LastPath();

    RegistryModel registry = MachineWithNodes();
    RequestTracker tracker{registry};
    RecordingRequests reported;
    bool listening = true;
    std::vector<std::string> lines; // all so far

private:
    void Ask(std::uint32_t thread, std::string_view name, std::string_view fields);
    void Answer(std::uint32_t thread, std::string_view name, std::string_view status,
                std::string_view fields = {});
    void ReportPath(std::string_view verb, const KeyQuestion& question);
};

} // namespace keyreap
