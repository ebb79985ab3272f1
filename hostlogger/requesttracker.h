#pragma once

#include "hostlogger/askedkey.h"
#include "hostlogger/requestline.h"
#include "hostlogger/serverprocess.h"
#include "hostlogger/systemstart.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace keyreap {

// One request about the registry, answered. Which of key, parent and name it has depends on its type.
struct KeyRequest {
    std::uint8_t type = 0; // EVENT_TRACE_TYPE_REG... (evntrace.h)
    std::uint32_t processId = 0;
    std::uint32_t threadId = 0;
    std::uint16_t machine = 0;             // of the process's image (IMAGE_FILE_MACHINE_..., winnt.h)
    KeyOrigin origin = KeyOrigin::program; // who made it; of a change the way of its key's handle
    std::uint32_t status = 0;              // NT status; 0 also for the creation of a key that was there
    std::int64_t time = 0;                 // of the last clock line, units of 100 ns
    std::shared_ptr<const OpenKey> key;    // the key at work; of a creation or opening what it gave, or null
    std::shared_ptr<const OpenKey> parent; // of a creation or opening what the name is relative to, or null
    std::wstring name;                     // of a creation or opening as asked; otherwise the value's name
    KeyView view;                          // of a creation or opening
};

// Takes what the log tells about the registry.
class KeyRequestListener {
public:
    virtual ~KeyRequestListener() = default;

    // False while OnKeyRequest isn't to be called: a request that nobody takes needn't be put together.
    virtual bool TakesKeyRequests() const { return true; }
    virtual void OnKeyRequest(const KeyRequest& request) = 0;
    // Lines are missing from here on.
    virtual void OnLostLines() = 0;
    // Somebody tried to open this name, complete and of no key: a place in the log that a reader can find.
    virtual void OnMissingKey(const std::wstring& name) = 0;
};

// Follows the log of Wine's server line by line: which process has which key open under which handle, through
// creation, opening, duplication, inheritance and closing. Must be fed from the log's first line on.
//
// Wine starts every process by creating keys that exist and by setting time zone values, in the process
// itself and before its first own instruction; Windows does neither. A program's own DLLs are initialised in
// that time, too. Its end is in the log: ntdll's loader asks once whether a debugger waits for the first
// breakpoint, just ahead of the entry point. Of what a process asks before, what changes the registry is
// reported unless it belongs to the system's start (SystemStart), and all of it is tracked. Where no start
// was recorded for the process's machine nothing is reported before that point.
//
// Later on Wine goes on creating keys that exist where Windows opens them, and who does is in the log too. A
// program's requests go back to the roots of the API, which the API itself gets by creating them by their
// complete names (a root of the other view component by component, all with the same access). Wine's inner
// parts, such as the desktop's settings, go back to keys that they opened by their complete names. The
// creation of a root, and by the inner parts, is told as the opening that it is if the key was there.
class RequestTracker {
public:
    explicit RequestTracker(KeyFacts& registry) : facts(registry) {}

    // How the system starts programs in this prefix.
    void SetSystemStart(SystemStart recorded) { systemStart = std::move(recorded); }

    // One line without its end.
    void Feed(std::string_view line, KeyRequestListener* listener);

    // Every key that any process has open now.
    std::unordered_map<const OpenKey*, std::shared_ptr<const OpenKey>> OpenKeys() const;

    std::int64_t Time() const { return time; }

private:
    // The last request of a thread. It stays when it is answered, so that the next one finds the room taken.
    struct Pending {
        bool waits = false; // for its reply
        std::string name;
        std::string fields;
        std::string
            realPath; // of the key that it opened or made, if the log told it; in the server's escapes
    };

    // A request with its reply.
    struct Answered {
        const Pending& request;
        const RequestLine& reply;
        ServerProcess& process;
        std::uint32_t processId;
        std::uint32_t status;
        KeyRequestListener* listener;
    };

    using Action = void (RequestTracker::*)(const Answered&);
    static Action ActionFor(std::string_view name);

    void TakeRequest(const RequestLine& line, const KeyRequestListener* listener);
    void TakeRealPath(std::string_view path);
    void TakeReply(const RequestLine& line, KeyRequestListener* listener);

    void CreateOrOpenKey(const Answered& answered);
    void ChangeKey(const Answered& answered);
    void RenameKey(const Answered& answered);
    void CloseHandle(const Answered& answered);
    void DuplicateHandle(const Answered& answered);
    void MarkHandle(const Answered& answered);
    void StartFirstThread(const RequestLine& reply);
    void StartProcess(const Answered& answered);
    void StartThread(const Answered& answered);
    void OpenProcess(const Answered& answered);
    void MapImage(const Answered& answered);
    void EndStart(const Answered& answered);

    std::shared_ptr<const OpenKey> FoundKey(const Answered& answered, const AskedKey& asked) const;
    void MoveKeys(const std::wstring& from, const std::wstring& to);
    std::uint32_t ProcessBehind(const Answered& answered, std::uint32_t handle) const;
    bool IsTold(const Answered& answered) const;
    bool BelongsToStart(const Answered& answered, const KeyRequest& request) const;
    void Tell(const Answered& answered, KeyRequest request) const;

    KeyFacts& facts;
    SystemStart systemStart;
    ServerProcesses processes;
    std::unordered_map<std::uint32_t, Pending> pending; // by thread
    std::uint32_t lastThread = 0;                       // whose request stands above a keyPath line
    std::int64_t time = 0;
};

} // namespace keyreap
