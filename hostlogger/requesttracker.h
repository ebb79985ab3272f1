#pragma once

#include "hostlogger/askedkey.h"
#include "hostlogger/exchangepairing.h"
#include "hostlogger/requestline.h"
#include "hostlogger/serverprocess.h"
#include "hostlogger/strictness.h"
#include "hostlogger/summarygate.h"
#include "hostlogger/systemstart.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace keyreap {

// One request about the registry, with its result. Which of key, parent and name it has depends on its type.
struct KeyRequest {
    std::uint8_t type = 0; // EVENT_TRACE_TYPE_REG... (evntrace.h)
    std::uint32_t processId = 0;
    std::uint32_t threadId = 0;
    std::uint16_t machine = 0;             // of the process's image (IMAGE_FILE_MACHINE_..., winnt.h)
    KeyOrigin origin = KeyOrigin::program; // who made it; of a change, who got the handle of its key
    std::uint32_t status = 0;              // NT status; 0 also for the creation of a key that existed
    std::int64_t time = 0;                 // of the last clock line, units of 100 ns
    std::shared_ptr<const OpenKey> key;    // of a creation or opening the key that was found, or null
    std::shared_ptr<const OpenKey> parent; // of a creation or opening what the name is relative to, or null
    std::wstring name;    // of a creation or opening as asked for; otherwise the value's name
    KeyView view;         // of a creation or opening
    std::wstring newName; // of a renaming: the name in the place of the key's last one. No event has it
};

// The start of a process.
struct ProcessStart {
    std::uint32_t processId = 0;
    std::uint32_t parentId = 0; // 0 if unknown
    std::wstring imageName;     // the file name; empty if the log lacks it
    std::int64_t time = 0;      // of the last clock line, units of 100 ns
};

// Receives what the log reports about the registry.
class KeyRequestListener {
public:
    virtual ~KeyRequestListener() = default;

    // Also while no key requests are wanted.
    virtual void OnProcessStart(const ProcessStart&) {}
    // A change of the registry that belongs to the system's start, and that OnKeyRequest doesn't get.
    virtual void OnSystemRequest(const KeyRequest&) {}

    // While it is false OnKeyRequest isn't called, and nothing is put together for it.
    virtual bool WantsKeyRequests() const { return true; }
    virtual void OnKeyRequest(const KeyRequest& request) = 0;
    // Lines are missing from the log here.
    virtual void OnLostLines() = 0;
    // A process tried to open a key of this complete name, and there is none: a mark that a reader can find
    // in the log.
    virtual void OnMissingKey(const std::wstring& name) = 0;
};

// Follows the log of Wine's server line by line: which process has which key open under which handle, through
// creation, opening, duplication, inheritance and closing. Needs every line from the log's first one on.
//
// Wine starts every process by creating keys that exist and by setting time zone values, in the process
// itself and before its first own instruction; Windows does neither. A program's own DLLs are initialised in
// that time, too. The log shows when it ends: ntdll's loader asks once whether a debugger waits for the first
// breakpoint, just ahead of the entry point. Of the earlier requests of a process, those that change the
// registry are reported unless they belong to the system's start (SystemStart); all of them are tracked.
// Where no start was recorded for the process's machine nothing is reported before that point.
//
// Later Wine still creates keys that exist where Windows opens them, and the log shows who does so. A
// program's requests begin at the roots of the API, which the API itself gets by creating them by their
// complete names (a root of the other view component by component, all with the same access). Wine's inner
// parts, such as the desktop's settings, begin at keys that they opened by their complete names. The creation
// of a root, and a creation by the inner parts, is reported as an opening if the key existed.
//
// Neither rule holds at a host that is as strict as Windows (Strictness).
class RequestTracker {
public:
    explicit RequestTracker(KeyFacts& facts) : facts(facts) {}

    // How the system starts programs in this prefix.
    void SetSystemStart(SystemStart start) { systemStart = std::move(start); }

    // Which of the rules above this host lacks.
    void SetStrictness(const Strictness& rules) { strictness = rules; }

    // Nothing counts until the summary of this mark, which replaces all lines before it (AppendSummary).
    void AwaitSummary(std::string_view mark) { gate.Await(mark); }
    bool AwaitsSummary() const { return gate.Awaits(); }
    // Every line counts again.
    void AwaitNothing() { gate = {}; }

    // One line without its line break. Summaries of marks that nobody awaits have no effect.
    void Feed(std::string_view line, KeyRequestListener* listener);

    // Every key that any process has open now.
    std::unordered_map<const OpenKey*, std::shared_ptr<const OpenKey>> OpenKeys() const;

    std::int64_t Time() const { return time; }
    const ServerProcesses& Processes() const { return processes; }
    const ExchangePairing& Exchanges() const { return exchanges; }

private:
    // An exchange of a known process, and who listens.
    struct Call : Exchange {
        ServerProcess& process;
        std::uint32_t processId;
        KeyRequestListener* listener;

        // The process that a handle of this process refers to; 0 for any other handle.
        std::uint32_t ProcessOf(std::uint32_t handle) const;
    };

    using Action = void (RequestTracker::*)(const Call&);
    static Action ActionFor(std::string_view name);

    void OnRequest(const RequestLine& request, const KeyRequestListener* listener);
    void OnReply(const RequestLine& reply, KeyRequestListener* listener);

    void CreateOrOpenKey(const Call& call);
    void UseKey(const Call& call);
    void RenameKey(const Call& call);
    void CloseHandle(const Call& call);
    void DuplicateHandle(const Call& call);
    void MarkInheritable(const Call& call);
    void StartFirstThread(const Exchange& exchange);
    void StartProcess(const Call& call);
    void StartThread(const Call& call);
    void OpenProcess(const Call& call);
    void TakeMachine(const Call& call);
    void MarkStarted(const Call& call);

    std::shared_ptr<const OpenKey> FoundKey(const Call& call, const AskedKey& asked) const;
    void MoveKeys(const std::wstring& from, const std::wstring& to);
    bool IsReported(const Call& call) const;
    bool BelongsToStart(const Call& call, const KeyRequest& request) const;
    KeyRequest Completed(const Call& call, KeyRequest request) const;
    void Report(const Call& call, KeyRequest request) const;

    KeyFacts& facts;
    SystemStart systemStart;
    Strictness strictness;
    ServerProcesses processes;
    ExchangePairing exchanges;
    SummaryGate gate;
    std::int64_t time = 0;
};

} // namespace keyreap
