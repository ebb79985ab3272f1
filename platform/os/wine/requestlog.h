#pragma once

#include <string>
#include <string_view>

#include "platform/os/ownedhandle.h"
#include "platform/os/wine/livekeyfacts.h"
#include "platform/os/wine/requesttracker.h"

namespace keyreap {

// The filtered request log of Wine's server, which the session that started the server keeps at one place of
// the prefix, and what was understood of it so far. Windows only.
class RequestLog {
public:
    RequestLog() : tracker(facts) {}

    // False where no session keeps such a log.
    bool Open();

    // Marks the present place of the log and reads up to it, handing what happened since the last call to the
    // listener, if there is one. Waits for as long as the log grows, and then ten seconds more: false if the
    // mark isn't there by then.
    bool ReadToNow(KeyRequestListener* listener);

    const RequestTracker& Tracker() const { return tracker; }
    LiveKeyFacts& Facts() { return facts; }

private:
    bool ReadSome();
    bool FeedLines(KeyRequestListener* listener, std::wstring_view mark);

    LiveKeyFacts facts;
    RequestTracker tracker;
    OwnedFile file;
    std::string unread; // from the log, not fed yet
};

} // namespace keyreap
