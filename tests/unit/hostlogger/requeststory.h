#pragma once

#include "hostlogger/requesttracker.h"
#include "tests/unit/hostlogger/registrymodel.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// Keeps what a tracker tells.
class RecordingRequests : public KeyRequestListener {
public:
    bool WantsKeyRequests() const override { return takes; }
    void OnKeyRequest(const KeyRequest& request) override { requests.push_back(request); }
    void OnLostLines() override { ++lost; }
    void OnMissingKey(const std::wstring& name) override { missing.push_back(name); }

    bool takes = true;
    std::vector<KeyRequest> requests;
    std::vector<std::wstring> missing;
    int lost = 0;
};

// What a request to create or open a key says beside its name, and what the server says of it.
struct KeyQuestion {
    std::uint32_t parent = 0;
    std::uint32_t access = 0x000F003F;
    std::uint32_t attributes = 0x40;
    std::string realPath = {}; // told by the server unless empty, as REGISTRY\Machine
    std::string status = "0";
};

// What happens in a prefix, told to a tracker in the lines of the server's request log. Handles, process and
// thread ids are the numbers given. A member tells a request with its answer; it succeeds unless a status
// says otherwise.
class RequestStory {
public:
    static constexpr std::uint32_t SELF = 0xFFFFFFFF; // the handle of the asking process
    static constexpr const char* I386 = "014c";
    static constexpr const char* AMD64 = "8664";

    void Line(std::string_view line);

    // A process with one thread that runs its own code.
    void Process(std::uint32_t process, std::uint32_t thread, const char* machine = AMD64);
    void FirstThread(std::uint32_t process, std::uint32_t thread);
    void MapImage(std::uint32_t thread, const char* machine, const char* flags = "04");
    void EndStart(std::uint32_t thread, std::uint32_t process = SELF);
    // `flags` 4 lets the child inherit; `handles` is empty or the list of those that it inherits.
    void NewProcess(std::uint32_t thread, std::uint32_t child, std::uint32_t handle, std::uint32_t flags = 0,
                    std::string_view handles = {}, std::uint32_t parent = 0);
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
    void Mark(std::uint32_t thread, std::uint32_t handle, int flags, int mask);
    // The source and the target are handles of processes.
    void Duplicate(std::uint32_t thread, std::uint32_t source, std::uint32_t handle, std::uint32_t target,
                   std::uint32_t copy, std::uint32_t options = 0, std::uint32_t attributes = 0);

    // The real path of the key of the last request that was told; empty if there is none.
    std::wstring LastPath();

    RegistryModel registry = MachineWithNodes();
    RequestTracker tracker{registry};
    RecordingRequests told;
    bool listening = true;
    std::vector<std::string> lines; // all that were told

private:
    void Ask(std::uint32_t thread, std::string_view name, std::string_view fields);
    void Answer(std::uint32_t thread, std::string_view name, std::string_view status,
                std::string_view fields = {});
    void TellPath(std::string_view verb, const KeyQuestion& question);
};

} // namespace keyreap
