#pragma once

#include "trace/schema/eventschema.h"
#include "trace/schema/eventvalues.h"
#include "trace/traceevent.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace keyreap {

class ThreadProcessMap;

// Statistics of one handler.
struct EventCounters {
    std::uint32_t eventsSeen = 0;
    std::uint32_t eventsAccepted = 0;
    std::uint32_t eventsWithData = 0;
    std::uint32_t eventsWithoutData = 0;
    std::uint32_t schemaFailures = 0;
    std::uint32_t decodeFailures = 0;
};

// Base class of everything that listens to a log. A handler sees all events, one at a time and in file order,
// and OnDecodedEvent gets those that it accepts and that carry a payload.
class TraceEventHandler {
public:
    TraceEventHandler();
    virtual ~TraceEventHandler();
    TraceEventHandler(const TraceEventHandler&) = delete;
    TraceEventHandler& operator=(const TraceEventHandler&) = delete;

    // Shares the reader's map of threads and drops the one given earlier.
    virtual void Attach(std::shared_ptr<ThreadProcessMap> map);

    // Whether the handler wants the reader to go on.
    virtual bool IsEnabled() const;

    // Whether the event concerns this handler. Must not allocate: it is asked for every event of the machine.
    virtual bool Accepts(const TraceEvent& event) const;

    // Takes the pointer size from the log header, then counts, filters, decodes and passes the event on.
    virtual void OnEvent(const TraceEvent& event);

    // Called after the last event, also when the log broke off.
    virtual void OnFinished();

    // An accepted event with a payload. `values` is null with the fixed layouts (useSchema false), and is
    // valid only for this call.
    virtual void OnDecodedEvent(const TraceEvent& event, const EventValues* values) = 0;

    // True if no process is watched in particular, or if this one is.
    bool IsWatchedProcess(std::uint32_t processId) const;
    void AddWatchedProcess(std::uint32_t processId);

    // The schema of an event's kind, from the cache or from the event classes: never null. A kind that no
    // class describes is searched again each time and gets the empty schema. Valid until the next call.
    const EventSchema* SchemaFor(const TraceEvent& event);

    const EventCounters& Counters() const { return counters; }
    std::uint32_t PointerSize() const { return pointerSize; }

protected:
    std::shared_ptr<ThreadProcessMap> threadMap;
    bool enabled = true;
    std::uint32_t pointerSize = 8;     // of the log: 4 or 8
    std::unique_ptr<EventClasses> wmi; // opened by the first look-up that needs it
    bool useSchema = false;            // fixed layouts; nothing in the program sets it
    SchemaCache schemas;
    std::vector<std::uint32_t> processIds; // so few that a search is the fastest way
    EventCounters counters;

private:
    void TakePointerSize(const TraceEvent& header);
    void Decode(const TraceEvent& event);
};

} // namespace keyreap
