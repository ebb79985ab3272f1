#pragma once

#include "trace/threadeventhandler.h"
#include "trace/traceeventhandler.h"

#include <memory>
#include <string>
#include <vector>

namespace keyreap {

class EventTracing;

// Runs a log file through the platform's trace consumer, event by event, and hands each to every handler.
// Nothing of the log is kept. At most two reads can be under way at once.
class TraceReader {
public:
    explicit TraceReader(EventTracing& eventTracing);

    // Appends to the list of handlers; the handler stays the caller's and must outlive the reader's reads.
    void AddHandler(TraceEventHandler& handler);

    // True when the whole file was processed. A file that can't be opened finishes no handler; one that
    // breaks off does. Windows only.
    bool Read(const std::wstring& logFilePath);

    // What the consumer calls: an event goes to each handler in list order; after a buffer the consumer goes
    // on while any handler is enabled.
    void OnEvent(const TraceEvent& event);
    bool OnBuffer();

private:
    EventTracing& tracing;
    std::vector<TraceEventHandler*> handlers;
    std::shared_ptr<ThreadProcessMap> threadMap;
    std::shared_ptr<ThreadEventHandler> threadHandler;
};

} // namespace keyreap
