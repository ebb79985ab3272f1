#include "trace/tracereader.h"

#include <algorithm>

namespace keyreap {

TraceReader::TraceReader(EventTracing& tracing)
    : tracing(tracing), threadMap(std::make_shared<ThreadProcessMap>()),
      threadHandler(std::make_shared<ThreadEventHandler>()) {
    threadHandler->Attach(threadMap);
}

void TraceReader::AddHandler(TraceEventHandler& handler) {
    handlers.push_back(&handler);
}

void TraceReader::OnEvent(const TraceEvent& event) {
    for (TraceEventHandler* const handler : handlers) {
        handler->OnEvent(event);
    }
}

bool TraceReader::OnBuffer() {
    return std::ranges::any_of(handlers, &TraceEventHandler::IsEnabled);
}

} // namespace keyreap
