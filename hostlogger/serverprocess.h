#pragma once

#include "hostlogger/keylookup.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>

namespace keyreap {

// An open key, as it was asked for. Its real path is known at once if the log reports it, and is looked up at
// its first use otherwise.
class OpenKey {
public:
    explicit OpenKey(std::wstring path) : path(std::move(path)) {}
    OpenKey(std::shared_ptr<const OpenKey> parent, std::wstring name, KeyView view);

    const std::wstring& Path(KeyFacts& facts) const;
    // How many keys above it may have to be looked up to find its path.
    std::size_t Depth() const { return depth; }
    // Nothing while the path has to be looked up. Only then the other facts of how the key was asked for
    // count.
    const std::optional<std::wstring>& KnownPath() const { return path; }
    const std::shared_ptr<const OpenKey>& Parent() const { return parent; }
    const std::wstring& AskedName() const { return name; }
    const KeyView& View() const { return view; }
    // The key was renamed, or one above it.
    void Move(std::wstring newPath) const { path = std::move(newPath); }

private:
    mutable std::shared_ptr<const OpenKey> parent; // until the path is known
    mutable std::wstring name;                     // until the path is known
    KeyView view;
    std::size_t depth = 0;
    mutable std::optional<std::wstring> path;
};

// Who got a handle of a key, by the history of the handle: a program through the API, the API itself on its
// way to one of its roots, or an inner part of Wine.
enum class KeyOrigin : std::uint8_t { program, root, innerPart };

// What a handle refers to: a key, or a process by its id.
struct ServerHandle {
    std::shared_ptr<const OpenKey> key;
    std::uint32_t processId = 0;
    bool inheritable = false;
    KeyOrigin origin = KeyOrigin::program;
    std::uint32_t access = 0; // as asked for
};

using ServerHandles = std::unordered_map<std::uint32_t, ServerHandle>;

// Machines of images, IMAGE_FILE_MACHINE_... of winnt.h.
inline constexpr std::uint16_t machineI386 = 0x014C;
inline constexpr std::uint16_t machineAmd64 = 0x8664;

// A process of the prefix, as far as its handles and its view of the registry go.
struct ServerProcess {
    ServerHandles handles;
    std::uint16_t machine = 0; // of its image (IMAGE_FILE_MACHINE_..., winnt.h); 0 until known
    bool started = false;      // its own code runs
    // How often it made each change of SystemStart; empty after it has started.
    std::unordered_map<std::string, unsigned> startChanges = {};
};

// Every process and thread of the prefix.
class ServerProcesses {
public:
    // The process with this id, added if there is none.
    ServerProcess& Process(std::uint32_t processId) { return processes[processId]; }
    // The process with this id, or null.
    ServerProcess* Find(std::uint32_t processId);

    // A new process replaces an earlier one with its id. With a parent it inherits the inheritable handles of
    // the parent: all of them, or those that are also in `listed` if that isn't empty.
    void Start(std::uint32_t processId, const ServerProcess* parent, std::span<const std::uint32_t> listed);
    void End(std::uint32_t processId) { processes.erase(processId); }

    void StartThread(std::uint32_t threadId, std::uint32_t processId) { threads[threadId] = processId; }
    void EndThread(std::uint32_t threadId) { threads.erase(threadId); }
    // 0 for an unknown thread.
    std::uint32_t ProcessOf(std::uint32_t threadId) const;

    const std::unordered_map<std::uint32_t, ServerProcess>& All() const { return processes; }
    // The process of each thread.
    const std::unordered_map<std::uint32_t, std::uint32_t>& Threads() const { return threads; }

private:
    std::unordered_map<std::uint32_t, ServerProcess> processes;
    std::unordered_map<std::uint32_t, std::uint32_t> threads;
};

} // namespace keyreap
