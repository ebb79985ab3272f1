#include "trace/threadeventhandler.h"

#include "etl/payload.h"

#include <iterator>

namespace keyreap {

namespace {

// EVENT_TRACE_TYPE_START and EVENT_TRACE_TYPE_DC_START of evntrace.h.
constexpr std::uint8_t threadStart = 1;
constexpr std::uint8_t threadRundown = 3;

// The offsets are the same in every version of the payload.
constexpr std::size_t processIdField = 0;
constexpr std::size_t threadIdField = 4;

} // namespace

void ThreadProcessMap::Record(std::uint32_t threadId, std::int64_t time, std::uint32_t processId) {
    Owners& owners = threads[threadId];
    // Of two processes at the same time, the one seen later counts.
    const auto entry = owners.insert_or_assign(time, processId).first;
    if (const auto next = std::next(entry); next != owners.end() && next->second == processId) {
        owners.erase(next);
    }
    if (entry != owners.begin() && std::prev(entry)->second == processId) {
        owners.erase(entry);
    }
}

const ThreadProcessMap::Owners* ThreadProcessMap::OwnersOf(std::uint32_t threadId) const {
    const auto found = threads.find(threadId);
    return found == threads.end() ? nullptr : &found->second;
}

bool ThreadEventHandler::Accepts(const TraceEvent& event) const {
    return event.guid == ThreadGuid || IsLogHeader(event);
}

void ThreadEventHandler::OnDecodedEvent(const TraceEvent& event, const EventValues*) {
    const Payload payload(event.payload);
    const bool startsThread = event.type == threadStart || event.type == threadRundown;
    if (!startsThread || !ThreadMap() || !payload.Holds(threadIdField, sizeof(std::uint32_t))) {
        return;
    }
    ThreadMap()->Record(payload.Number<std::uint32_t>(threadIdField), event.timeStamp,
                        payload.Number<std::uint32_t>(processIdField));
}

} // namespace keyreap
