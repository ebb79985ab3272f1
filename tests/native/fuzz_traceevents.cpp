#include "tests/native/fuzzinput.h"
#include "trace/processfields.h"
#include "trace/replay/replayhandler.h"
#include "trace/threadeventhandler.h"

#include <memory>

using namespace keyreap;

namespace {

// One event. Its payload ends with its memory, so that a sanitizer sees every read past the end.
struct FuzzedEvent {
    explicit FuzzedEvent(fuzz::Input& input) {
        static constexpr Guid guids[] = {RegistryGuid, ThreadGuid, EventTraceGuid, Guid{}, ProcessGuid};
        event.guid = guids[input.Byte() % std::size(guids)];
        event.type = input.Byte();
        event.version = input.Byte() % 4;
        event.processId = input.Byte() % 4;
        event.timeStamp = input.Byte();
        const std::span<const std::byte> content = input.Take(input.Byte());
        memory.reset(new std::byte[content.size()]);
        std::copy(content.begin(), content.end(), memory.get());
        event.payload = {memory.get(), content.size()};
    }

    TraceEvent event;
    std::unique_ptr<std::byte[]> memory;
};

void CheckCounters(const EventCounters& counters, std::uint32_t events) {
    fuzz::Require(counters.eventsSeen == events);
    fuzz::Require(counters.eventsAccepted <= events);
    fuzz::Require(counters.eventsWithData + counters.eventsWithoutData == counters.eventsAccepted);
    fuzz::Require(counters.schemaFailures == 0 && counters.decodeFailures == 0);
}

} // namespace

// Passes a whole log, including its header, through the handlers.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const bool isReplay = input.Byte() % 2 == 0;
    RegistryEventHandler general(false);
    ReplayHandler ofReplay;
    RegistryEventHandler& registry = isReplay ? ofReplay : general;
    registry.AddWatchedProcess(1);
    ThreadEventHandler threads;
    threads.Attach(std::make_shared<ThreadProcessMap>());
    std::uint32_t events = 0;
    for (; !input.IsEmpty(); ++events) {
        const FuzzedEvent next(input);
        registry.OnEvent(next.event);
        threads.OnEvent(next.event);
        ReadProcessFields(next.event, next.event.processId % 2 == 0 ? 4 : 8);
    }
    registry.OnFinished();
    CheckCounters(registry.Counters(), events);
    CheckCounters(threads.Counters(), events);
    fuzz::Require(registry.Operations().size() <= registry.Counters().eventsWithData);
    return 0;
}
