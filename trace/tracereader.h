#pragma once

#include "trace/threadeventhandler.h"
#include "trace/traceeventhandler.h"

#include <memory>
#include <string>
#include <vector>

namespace keyreap {

class EventTracing;

// Runs a log file through the platform's trace consumer and passes each event to every handler. The reader
// keeps nothing of the log. At most two reads can run at the same time.
class TraceReader {
public:
    explicit TraceReader(EventTracing& tracing);

    // Appends to the list of handlers. The caller keeps the handler, which must outlive the reads.
    void AddHandler(TraceEventHandler& handler);

    // True if the file was processed to its end. OnFinished is not called for a file that can't be opened,
    // but is for one that breaks off. An exception of a handler ends the handlers' events, and goes on from
    // here when the log is closed, without OnFinished. Windows only.
    bool Read(const std::wstring& logFilePath);

    // The consumer calls these. Each handler gets an event, in the order of the list; after a buffer the
    // consumer goes on while any handler is enabled.
    void OnEvent(const TraceEvent& event);
    bool OnBuffer();

private:
    EventTracing& tracing;
    std::vector<TraceEventHandler*> handlers;
    std::shared_ptr<ThreadProcessMap> threadMap;
    std::shared_ptr<ThreadEventHandler> threadHandler;
};

} // namespace keyreap
