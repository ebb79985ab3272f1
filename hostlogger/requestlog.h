#pragma once

#include "hostlogger/livekeyfacts.h"
#include "hostlogger/requesttracker.h"
#include "platform/os/ownedhandle.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace keyreap {

// Where a session with a request log keeps the filtered log; the same place in every prefix.
std::wstring RequestLogPath();

// Where a prefix keeps the recording of how programs are started (SystemStart). The file may be missing.
std::wstring SystemStartPath();

// Where the session of a test describes its host (Strictness). Other sessions have no such file.
std::wstring HostDescriptionPath();

// With this begin the marks that readers of the log make; the id of the reader's process follows.
inline constexpr std::wstring_view markPrefix = L"\\REGISTRY\\Keyreap mark ";

// A request log that is being written, and what it has reported so far. Windows only.
class RequestLog {
public:
    explicit RequestLog(std::wstring path) : path(std::move(path)), tracker(facts) {}

    // False if there is no request log. Also reads the recording of how the system starts programs, and the
    // description of the host.
    bool Open();

    // Replaces the recording that Open has read.
    void SetSystemStart(SystemStart start) { tracker.SetSystemStart(std::move(start)); }

    // Writes a mark at the present end of the log and reads up to it. The listener, if there is one, receives
    // what happened since the last call. False if the log doesn't grow for ten seconds and the mark isn't
    // there. The first call, without a listener, reads only the summary of the mark if the log has one.
    bool ReadToNow(KeyRequestListener* listener);

    // The mark up to which the log was read last.
    const std::wstring& LastMark() const { return lastMark; }

    // Reads up to a mark that was written before, maybe by another process.
    bool ReadTo(const std::wstring& mark, KeyRequestListener* listener);

    // False after lines were missing in what was read: handles may be unknown from there on.
    bool IsComplete() const { return complete; }

    const Strictness& Host() const { return host; }
    const RequestTracker& Tracker() const { return tracker; }
    LiveKeyFacts& Facts() { return facts; }

private:
    enum class Progress { waits, found, noSummary };

    bool ReadSome();
    void GoTo(std::int64_t offset);
    Progress FeedLines(KeyRequestListener* listener, std::wstring_view mark);
    Progress ReadUntil(KeyRequestListener* listener, std::wstring_view mark, unsigned longest);
    Progress ReadSummary(const std::wstring& mark, std::int64_t end);

    std::wstring path;
    LiveKeyFacts facts;
    RequestTracker tracker;
    Strictness host;
    OwnedFile file;
    std::wstring lastMark;
    bool begun = false; // something was read
    std::string unread; // read from the log, not yet fed to the tracker
    bool complete = true;
};

} // namespace keyreap
