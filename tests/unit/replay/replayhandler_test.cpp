#include "tests/support/allocationcount.h"
#include "tests/support/tracebuilder.h"
#include "trace/replay/replayhandler.h"

#include <gtest/gtest.h>

#include <vector>

namespace keyreap {
namespace {

constexpr std::uint32_t ours = 4711;
constexpr std::uint32_t stranger = 99;
constexpr std::uint64_t handle = 0xFFFFF8A000123450;

TEST(ReplayHandler, HasTheOperationsOfItsProcessWithClassesBelowTheirRoot) {
    ReplayHandler handler;
    handler.AddWatchedProcess(ours);
    TraceBuilder trace;
    trace.ByProcess(stranger).CreateKey(0, L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes\\.other");
    trace.ByProcess(ours).CreateKey(0, L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes\\.acme").Play(handler);
    ASSERT_EQ(handler.Operations().size(), 1U);
    EXPECT_EQ(handler.Operations()[0].root, classesRoot);
    EXPECT_EQ(handler.Operations()[0].keyPath, L".acme");
}

TEST(ReplayHandler, TakesThePointerSizeOfTheLog) {
    ReplayHandler handler;
    TraceBuilder(4).Play(handler);
    EXPECT_EQ(handler.PointerSize(), 4U);
}

TEST(ReplayHandler, CountsTheEventsAndAllocatesNothingForThoseOfOthers) {
    ReplayHandler handler;
    handler.AddWatchedProcess(ours);
    TraceBuilder trace;
    trace.ByProcess(stranger).SetValue(handle, L"A value name beyond any small buffer");
    trace.Add(ThreadGuid, 1, std::vector<std::byte>(8)).Add(RegistryGuid, 10, {});
    const std::vector<TraceBuilder::Event> events = trace.Events();
    const std::size_t before = AllocationCount();
    for (const TraceBuilder::Event& event : events) {
        handler.OnEvent(event.View());
    }
    EXPECT_EQ(AllocationCount(), before);
    const EventCounters& counters = handler.Counters();
    EXPECT_EQ(counters.eventsSeen, events.size());
    EXPECT_EQ(counters.eventsAccepted, events.size() - 1);
    EXPECT_EQ(counters.eventsWithoutData, 1U);
    EXPECT_EQ(counters.eventsWithData, events.size() - 2);
}

} // namespace
} // namespace keyreap
