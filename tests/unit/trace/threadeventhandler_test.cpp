#include "tests/support/tracebuilder.h"
#include "trace/threadeventhandler.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr std::uint8_t threadStart = 1;
constexpr std::uint8_t threadEnd = 2;
constexpr std::uint8_t threadRundown = 3;

using Owners = ThreadProcessMap::Owners;

std::vector<std::byte> ThreadPayload(std::uint32_t process, std::uint32_t thread) {
    return PayloadBuilder().U32(process).U32(thread).Zeros(40).bytes;
}

// The map after a handler has seen the log.
std::shared_ptr<ThreadProcessMap> MapOf(const TraceBuilder& trace) {
    auto map = std::make_shared<ThreadProcessMap>();
    ThreadEventHandler handler;
    handler.Attach(map);
    trace.Play(handler);
    return map;
}

TEST(ThreadProcessMap, UnknownThreadHasNoOwners) {
    const ThreadProcessMap map;
    EXPECT_EQ(map.OwnersOf(1), nullptr);
}

TEST(ThreadProcessMap, HoldsOneEntryForEachChangeOfProcess) {
    ThreadProcessMap map;
    map.Record(1, 10, 100);
    map.Record(1, 20, 200);
    map.Record(1, 30, 100);
    EXPECT_EQ(*map.OwnersOf(1), (Owners{{10, 100}, {20, 200}, {30, 100}}));
}

TEST(ThreadProcessMap, EntryOfTheSameProcessStays) {
    ThreadProcessMap map;
    map.Record(1, 10, 100);
    map.Record(1, 20, 100);
    EXPECT_EQ(*map.OwnersOf(1), (Owners{{10, 100}}));
}

TEST(ThreadProcessMap, FollowingEntryOfTheSameProcessMovesForward) {
    ThreadProcessMap map;
    map.Record(1, 30, 100);
    map.Record(1, 10, 100);
    EXPECT_EQ(*map.OwnersOf(1), (Owners{{10, 100}}));
}

TEST(ThreadProcessMap, EarlierEntryOfAnotherProcessComesFirst) {
    ThreadProcessMap map;
    map.Record(1, 30, 100);
    map.Record(1, 10, 200);
    EXPECT_EQ(*map.OwnersOf(1), (Owners{{10, 200}, {30, 100}}));
}

TEST(ThreadProcessMap, LastProcessSeenAtOneTimeCounts) {
    ThreadProcessMap map;
    map.Record(1, 10, 100);
    map.Record(1, 10, 200);
    EXPECT_EQ(*map.OwnersOf(1), (Owners{{10, 200}}));
}

TEST(ThreadProcessMap, ReplacingTheOnlyOtherProcessLeavesOneEntry) {
    ThreadProcessMap map;
    map.Record(1, 10, 100);
    map.Record(1, 20, 200);
    map.Record(1, 30, 100);
    map.Record(1, 20, 100);
    EXPECT_EQ(*map.OwnersOf(1), (Owners{{10, 100}}));
}

TEST(ThreadProcessMap, EachThreadHasItsOwnEntries) {
    ThreadProcessMap map;
    map.Record(1, 10, 100);
    map.Record(2, 10, 200);
    EXPECT_EQ(*map.OwnersOf(1), (Owners{{10, 100}}));
    EXPECT_EQ(*map.OwnersOf(2), (Owners{{10, 200}}));
}

TEST(ThreadEventHandler, AcceptsThreadEventsAndTheLogHeaderOnly) {
    const ThreadEventHandler handler;
    TraceEvent event;
    event.guid = ThreadGuid;
    event.type = threadEnd;
    EXPECT_TRUE(handler.Accepts(event));
    event.guid = EventTraceGuid;
    EXPECT_FALSE(handler.Accepts(event));
    event.type = 0;
    EXPECT_TRUE(handler.Accepts(event));
    event.guid = RegistryGuid;
    EXPECT_FALSE(handler.Accepts(event));
}

TEST(ThreadEventHandler, RecordsThreadsFromStartAndRundownOfAnyVersion) {
    TraceBuilder trace;
    trace.InVersion(1).AtTime(10).Add(ThreadGuid, threadStart, ThreadPayload(100, 1));
    trace.InVersion(3).AtTime(20).Add(ThreadGuid, threadRundown, ThreadPayload(200, 2));
    const auto map = MapOf(trace);
    ASSERT_NE(map->OwnersOf(1), nullptr);
    ASSERT_NE(map->OwnersOf(2), nullptr);
    EXPECT_EQ(*map->OwnersOf(1), (Owners{{10, 100}}));
    EXPECT_EQ(*map->OwnersOf(2), (Owners{{20, 200}}));
}

TEST(ThreadEventHandler, OtherThreadEventsAreIgnored) {
    TraceBuilder trace;
    for (const std::uint8_t type : std::initializer_list<std::uint8_t>{0, 2, 4, 36}) {
        trace.Add(ThreadGuid, type, ThreadPayload(100, 1));
    }
    EXPECT_EQ(MapOf(trace)->OwnersOf(1), nullptr);
}

TEST(ThreadEventHandler, PayloadWithoutBothIdsIsIgnored) {
    TraceBuilder trace;
    trace.Add(ThreadGuid, threadStart, PayloadBuilder().U32(100).U16(1).U8(0).bytes);
    const auto map = MapOf(trace);
    EXPECT_EQ(map->OwnersOf(0), nullptr);
    EXPECT_EQ(map->OwnersOf(1), nullptr);
}

TEST(ThreadEventHandler, WithoutAMapEventsAreIgnored) {
    ThreadEventHandler handler;
    TraceBuilder().Add(ThreadGuid, threadStart, ThreadPayload(100, 1)).Play(handler);
    EXPECT_EQ(handler.Counters().eventsWithData, 2U);
}

} // namespace
} // namespace keyreap
