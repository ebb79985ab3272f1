#pragma once

#include "trace/traceeventhandler.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace keyreap {

// A handler that records what reaches it, and opens its protected operations to a test.
class RecordingHandler : public TraceEventHandler {
public:
    struct Decoded {
        std::uint8_t type = 0;
        std::uint32_t pointerSize = 0;
        std::optional<std::vector<std::vector<EventValue>>> values; // empty with fixed layouts
    };

    using TraceEventHandler::Decoding;
    using TraceEventHandler::Disable;
    using TraceEventHandler::HasOpenedClasses;
    using TraceEventHandler::Schemas;
    using TraceEventHandler::ThreadMap;
    using TraceEventHandler::TraceEventHandler;

    void Attach(std::shared_ptr<ThreadProcessMap> map) override {
        calls.push_back(name + L"attach");
        TraceEventHandler::Attach(std::move(map));
    }

    bool Accepts(const TraceEvent& event) const override { return !onlyGuid || event.guid == *onlyGuid; }

    void OnEvent(const TraceEvent& event) override {
        calls.push_back(name + L"event " + std::to_wstring(event.type));
        TraceEventHandler::OnEvent(event);
    }

    void OnFinished() override { calls.push_back(name + L"finished"); }

    void OnDecodedEvent(const TraceEvent& event, const EventValues* values) override {
        Decoded seen{event.type, PointerSize(), {}};
        if (values) {
            seen.values = values->values;
        }
        decoded.push_back(std::move(seen));
    }

    std::wstring name;            // in front of each call
    std::optional<Guid> onlyGuid; // the only one that Accepts lets through, if any
    std::vector<std::wstring> calls;
    std::vector<Decoded> decoded;
};

} // namespace keyreap
