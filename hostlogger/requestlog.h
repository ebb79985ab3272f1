#pragma once

#include "hostlogger/livekeyfacts.h"
#include "hostlogger/requesttracker.h"
#include "platform/os/ownedhandle.h"

#include <string>
#include <string_view>
#include <utility>

namespace keyreap {

// Where the session that started Wine's server keeps its filtered request log: one place in every prefix.
std::wstring RequestLogPath();

// Where the prefix keeps how the system starts programs in it, in the form of SystemStart; such a file
// needn't be there.
std::wstring SystemStartPath();

// Such a request log, and what was understood of it so far. Windows only.
class RequestLog {
public:
    explicit RequestLog(std::wstring logPath) : path(std::move(logPath)), tracker(facts) {}

    // False where no session keeps such a log. Reads how the system starts programs in this prefix.
    bool Open();

    // Takes another start of programs than the one that was read.
    void SetSystemStart(SystemStart start) { tracker.SetSystemStart(std::move(start)); }

    // Marks the present place of the log and reads up to it, handing what happened since the last call to the
    // listener, if there is one. Waits for as long as the log grows, and then ten seconds more: false if the
    // mark isn't there by then.
    bool ReadToNow(KeyRequestListener* listener);

    // False once lines were missing in what was read: handles may be unknown from there on.
    bool IsComplete() const { return complete; }

    const RequestTracker& Tracker() const { return tracker; }
    LiveKeyFacts& Facts() { return facts; }

private:
    bool ReadSome();
    bool FeedLines(KeyRequestListener* listener, std::wstring_view mark);

    std::wstring path;
    LiveKeyFacts facts;
    RequestTracker tracker;
    OwnedFile file;
    std::string unread; // from the log, not fed yet
    bool complete = true;
};

} // namespace keyreap
