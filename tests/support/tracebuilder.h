#pragma once

#include "tests/support/payloadbuilder.h"
#include "trace/registryfields.h"
#include "trace/traceevent.h"
#include "trace/traceeventhandler.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// The payload of a registry event: the fixed layout of a version and pointer size.
std::vector<std::byte> RegistryPayload(const RegistryFields& fields, std::uint16_t version,
                                       std::uint32_t pointerSize);

// A synthetic log. The builder adds the log header first, then the events in the order of the calls, each
// with the process and the version set last, and at the end the rundown of the keys that were open before.
//
//     TraceBuilder trace;
//     trace.OpenBefore(0x10, L"\\REGISTRY\\MACHINE\\SOFTWARE").ByProcess(77);
//     trace.CreateKey(0x10, L"Acme").KeyHandleNamed(0x20, L"\\REGISTRY\\MACHINE\\SOFTWARE\\Acme");
//     trace.SetValue(0x20, L"Version").Play(handler);
class TraceBuilder {
public:
    struct Event {
        Guid guid;
        std::uint8_t type = 0;
        std::uint16_t version = 0;
        std::uint32_t processId = 0;
        std::uint32_t threadId = 0;
        std::int64_t timeStamp = 0;
        std::vector<std::byte> payload;

        TraceEvent View() const;
    };

    explicit TraceBuilder(std::uint32_t pointerSize = 8);

    // Properties of all later events.
    TraceBuilder& ByProcess(std::uint32_t id);
    TraceBuilder& ByThread(std::uint32_t id);
    TraceBuilder& InVersion(std::uint16_t number); // 2 at first
    TraceBuilder& AtTime(std::int64_t time);       // each later event has the next tick

    // Operations on a key: the name is relative to the handle, or complete and with handle 0.
    TraceBuilder& CreateKey(std::uint64_t handle, std::wstring_view name, std::uint32_t status = 0);
    TraceBuilder& OpenKey(std::uint64_t handle, std::wstring_view name, std::uint32_t status = 0);
    TraceBuilder& DeleteKey(std::uint64_t handle, std::wstring_view name = {}, std::uint32_t status = 0);
    TraceBuilder& QueryKey(std::uint64_t handle, std::wstring_view name = {}, std::uint32_t status = 0);

    // Operations on a value of the handle's key.
    TraceBuilder& SetValue(std::uint64_t handle, std::wstring_view name, std::uint32_t status = 0);
    TraceBuilder& DeleteValue(std::uint64_t handle, std::wstring_view name, std::uint32_t status = 0);
    TraceBuilder& QueryValue(std::uint64_t handle, std::wstring_view name, std::uint32_t status = 0);

    // The name of a handle: in an event now, or in the rundown at the end, as for a key opened before the
    // trace.
    TraceBuilder& KeyHandleNamed(std::uint64_t handle, std::wstring_view path);
    TraceBuilder& KeyHandleDropped(std::uint64_t handle, std::wstring_view path);
    TraceBuilder& OpenBefore(std::uint64_t handle, std::wstring_view path);

    // Any registry event, and any event at all.
    TraceBuilder& Registry(std::uint8_t type, const RegistryFields& fields);
    TraceBuilder& Add(const Guid& guid, std::uint8_t type, std::vector<std::byte> payload);

    // The whole log, header first and rundown last.
    std::vector<Event> Events() const;

    // Passes the whole log to a handler and finishes it.
    void Play(TraceEventHandler& handler) const;

private:
    struct NamedHandle {
        std::uint64_t handle = 0;
        std::wstring path;
    };

    TraceBuilder& Operation(std::uint8_t type, std::uint64_t handle, std::wstring_view name,
                            std::uint32_t status);

    std::uint32_t pointerSize;
    std::uint32_t processId = 0;
    std::uint32_t threadId = 0;
    std::uint16_t version = 2;
    std::int64_t nextTime = 1;
    std::vector<Event> events;
    std::vector<NamedHandle> rundown;
};

} // namespace keyreap
