#pragma once

#include "platform/core/text/hash.h"
#include "trace/traceeventhandler.h"

#include <cstdint>
#include <map>
#include <unordered_map>

namespace keyreap {

// The processes that a thread id belonged to, with an entry for the time of each change.
class ThreadProcessMap {
public:
    using Owners = std::map<std::int64_t, std::uint32_t>; // time stamp to process id

    // Records that the thread was seen in this process at this time.
    void Record(std::uint32_t threadId, std::int64_t time, std::uint32_t processId);

    // The processes of a thread id in the order of time, or null for an unknown id.
    const Owners* OwnersOf(std::uint32_t threadId) const;

private:
    std::unordered_map<std::uint32_t, Owners, Fnv1aHash> threads;
};

// Fills the attached ThreadProcessMap from thread start and rundown events.
class ThreadEventHandler : public TraceEventHandler {
public:
    bool Accepts(const TraceEvent& event) const override;
    void OnDecodedEvent(const TraceEvent& event, const EventValues* values) override;
};

} // namespace keyreap
