#include "trace/traceeventhandler.h"

#include "trace/schema/schemahost.h"
#include "trace/threadeventhandler.h"

#include <utility>

namespace keyreap {

TraceEventHandler::TraceEventHandler(EventDecoding decoding, std::unique_ptr<EventClasses> classes)
    : decoding(decoding), wmi(std::move(classes)) {}
TraceEventHandler::~TraceEventHandler() = default;

void TraceEventHandler::Attach(std::shared_ptr<ThreadProcessMap> map) {
    threadMap = std::move(map);
}

bool TraceEventHandler::IsEnabled() const {
    return enabled;
}

bool TraceEventHandler::Accepts(const TraceEvent&) const {
    return true;
}

void TraceEventHandler::OnEvent(const TraceEvent& event) {
    Dispatch(*this, event);
}

void TraceEventHandler::OnFinished() {}

void TraceEventHandler::AddWatchedProcess(std::uint32_t processId) {
    processIds.push_back(processId);
}

const EventSchema* TraceEventHandler::SchemaFor(const TraceEvent& event) {
    std::wstring key = SchemaKey(event.guid, event.version, event.type);
    if (const auto found = schemas.find(key); found != schemas.end()) {
        return &found->second;
    }
    if (!wmi) {
        wmi = OpenEventClasses();
    }
    EventSchema schema{{}, pointerSize};
    switch (wmi->Load(GuidText(event.guid), event.version, event.type, schema)) {
    case SchemaLookup::loaded:
        break;
    case SchemaLookup::unreadable:
        ++counters.schemaFailures; // cached as well: the class isn't read again
        schema.properties.clear();
        break;
    case SchemaLookup::noClass:
        key.clear(); // the empty schema; the event gets no entry of its own, so the next one is searched for
                     // again
        schema.properties.clear();
        break;
    }
    return &schemas.insert_or_assign(std::move(key), std::move(schema)).first->second;
}

void TraceEventHandler::Decode(const TraceEvent& event) {
    EventValues values(*SchemaFor(event));
    if (DecodeValues(values, event.payload)) {
        OnDecodedEvent(event, &values);
    } else {
        ++counters.decodeFailures;
        --counters.eventsWithData;
    }
}

} // namespace keyreap
