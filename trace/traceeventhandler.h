#pragma once

#include "etl/payload.h"
#include "trace/schema/eventschema.h"
#include "trace/schema/eventvalues.h"
#include "trace/traceevent.h"

#include <algorithm>
#include <cstddef>
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

// How a handler gets the fields of a payload. The program uses fixed layouts alone.
enum class EventDecoding {
    fixedLayout, // by the event's version; OnDecodedEvent gets no values
    schema,      // by the event classes
};

// Base class of everything that listens to a log. A handler sees all events, one at a time and in file order,
// and OnDecodedEvent gets those that it accepts and that carry a payload.
class TraceEventHandler {
public:
    // Without `classes`, the first look-up opens those of the system.
    explicit TraceEventHandler(EventDecoding decoding = EventDecoding::fixedLayout,
                               std::unique_ptr<EventClasses> classes = nullptr);
    virtual ~TraceEventHandler();
    TraceEventHandler(const TraceEventHandler&) = delete;
    TraceEventHandler& operator=(const TraceEventHandler&) = delete;

    // Shares the reader's map of threads and drops the one given earlier.
    virtual void Attach(std::shared_ptr<ThreadProcessMap> map);

    // Whether the handler wants the reader to go on.
    virtual bool IsEnabled() const;

    // Whether the event concerns this handler. Must not allocate: it is called for every event of the
    // machine.
    virtual bool Accepts(const TraceEvent& event) const;

    // Takes the pointer size from the log header, then counts, filters, decodes and passes the event on.
    virtual void OnEvent(const TraceEvent& event);

    // Called after the last event, also when the log broke off.
    virtual void OnFinished();

    // An accepted event with a payload. `values` is null with fixed layouts, and is valid only for this call.
    virtual void OnDecodedEvent(const TraceEvent& event, const EventValues* values) = 0;

    // True if no process is watched in particular, or if this one is.
    bool IsWatchedProcess(std::uint32_t processId) const {
        return processIds.empty() || std::ranges::find(processIds, processId) != processIds.end();
    }
    void AddWatchedProcess(std::uint32_t processId);

    // The schema for the event's class, version and type, from the cache or from the event classes: never
    // null. Events that no class describes get the empty schema, and are searched for again each time. Valid
    // until the next call.
    const EventSchema* SchemaFor(const TraceEvent& event);

    const EventCounters& Counters() const { return counters; }

    // The log's, in bytes: 8 until its header was seen.
    std::uint32_t PointerSize() const { return pointerSize; }

protected:
    // The steps of OnEvent. A final class has its own Accepts and OnDecodedEvent called directly, which
    // matters for a log with the events of a whole machine.
    template <typename Handler>
    static void Dispatch(Handler& handler, const TraceEvent& event) {
        TraceEventHandler& base = handler;
        EventCounters& counters = base.counters;
        ++counters.eventsSeen;
        if (IsLogHeader(event)) {
            base.TakePointerSize(event);
        }
        if (!handler.Accepts(event)) {
            return;
        }
        ++counters.eventsAccepted;
        if (event.payload.empty()) {
            ++counters.eventsWithoutData;
            return;
        }
        ++counters.eventsWithData;
        if (base.decoding == EventDecoding::schema) {
            base.Decode(event);
        } else {
            handler.OnDecodedEvent(event, nullptr);
        }
    }

    // From now on the handler does not want the reader to go on.
    void Disable() { enabled = false; }

    EventDecoding Decoding() const { return decoding; }
    const std::shared_ptr<ThreadProcessMap>& ThreadMap() const { return threadMap; }
    const SchemaCache& Schemas() const { return schemas; }
    bool HasOpenedClasses() const { return wmi != nullptr; }

private:
    void TakePointerSize(const TraceEvent& header) {
        // The offset of PointerSize in TRACE_LOGFILE_HEADER (evntrace.h), the same in both bitnesses.
        constexpr std::size_t pointerSizeField = 44;
        const Payload payload(header.payload);
        if (payload.Holds(pointerSizeField, sizeof(pointerSize))) {
            pointerSize = payload.Number<std::uint32_t>(pointerSizeField);
        }
    }

    void Decode(const TraceEvent& event);

    std::shared_ptr<ThreadProcessMap> threadMap;
    bool enabled = true;
    std::uint32_t pointerSize = 8;
    EventDecoding decoding;
    std::unique_ptr<EventClasses> wmi;
    SchemaCache schemas;
    std::vector<std::uint32_t> processIds; // so few that a search is the fastest way
    EventCounters counters;
};

} // namespace keyreap
