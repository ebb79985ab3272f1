#pragma once

#include "trace/traceeventhandler.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace keyreap {

// A handler that writes down what reaches it, and opens its protected fields to a test.
class RecordingHandler : public TraceEventHandler {
public:
    struct Decoded {
        std::uint8_t type = 0;
        std::uint32_t pointerSize = 0;
        std::optional<std::vector<std::vector<EventValue>>> values; // none with the fixed layouts
    };

    using TraceEventHandler::enabled;
    using TraceEventHandler::processIds;
    using TraceEventHandler::schemas;
    using TraceEventHandler::threadMap;
    using TraceEventHandler::useSchema;
    using TraceEventHandler::wmi;

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
        Decoded seen{event.type, pointerSize, {}};
        if (values) {
            seen.values = values->values;
        }
        decoded.push_back(std::move(seen));
    }

    std::wstring name;            // goes ahead of each call
    std::optional<Guid> onlyGuid; // what Accepts lets through; everything without it
    std::vector<std::wstring> calls;
    std::vector<Decoded> decoded;
};

} // namespace keyreap
