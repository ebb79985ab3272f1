#include "tests/support/allocationcount.h"
#include "tests/support/tracebuilder.h"
#include "tests/unit/trace/recordinghandler.h"
#include "trace/threadeventhandler.h"
#include "trace/traceeventhandler.h"

#include <gtest/gtest.h>

#include <map>

namespace keyreap {
namespace {

constexpr std::uint32_t cimUint32 = 19;

// Event classes from a table, which records the look-ups.
class TableOfClasses : public EventClasses {
public:
    SchemaLookup Load(std::wstring_view guidText, std::uint16_t version, std::uint8_t type,
                      EventSchema& schema) override {
        searches.emplace_back(guidText);
        const auto found = classes.find({version, type});
        if (found == classes.end()) {
            schema.properties.resize(3); // left over from a failed search; must not be kept
            return SchemaLookup::noClass;
        }
        schema.properties = found->second.properties;
        return found->second.outcome;
    }

    struct Class {
        SchemaLookup outcome = SchemaLookup::loaded;
        std::vector<PropertyDescriptor> properties;
    };

    std::map<std::pair<std::uint16_t, std::uint8_t>, Class> classes;
    std::vector<std::wstring> searches;
};

// A handler that decodes by the classes of a table.
class SchemaHandler : public RecordingHandler {
public:
    explicit SchemaHandler(std::unique_ptr<TableOfClasses> classes = std::make_unique<TableOfClasses>())
        : SchemaHandler(*classes, std::move(classes)) {}

    void Describe(std::uint16_t version, std::uint8_t type, std::vector<PropertyDescriptor> properties) {
        table->classes[{version, type}] = {SchemaLookup::loaded, std::move(properties)};
    }

    TableOfClasses* table;

private:
    SchemaHandler(TableOfClasses& table, std::unique_ptr<TableOfClasses>&& classes)
        : RecordingHandler(EventDecoding::schema, std::move(classes)), table(&table) {
        onlyGuid = RegistryGuid;
    }
};

PropertyDescriptor NumberProperty(std::wstring name) {
    PropertyDescriptor property;
    property.name = std::move(name);
    property.cimType = cimUint32;
    return property;
}

PropertyDescriptor PointerProperty(std::wstring name) {
    PropertyDescriptor property = NumberProperty(std::move(name));
    property.qualifiers.pointer = true;
    return property;
}

TraceEvent RegistryEvent(std::uint8_t type, std::uint16_t version = 2) {
    TraceEvent event;
    event.guid = RegistryGuid;
    event.type = type;
    event.version = version;
    return event;
}

TEST(TraceEventHandler, StartsEnabledWithPointerSize8AndFixedLayouts) {
    const RecordingHandler handler;
    EXPECT_TRUE(handler.IsEnabled());
    EXPECT_EQ(handler.PointerSize(), 8U);
    EXPECT_EQ(handler.Decoding(), EventDecoding::fixedLayout);
    EXPECT_EQ(handler.ThreadMap(), nullptr);
}

TEST(TraceEventHandler, DisabledHandlerIsNotEnabled) {
    RecordingHandler handler;
    handler.Disable();
    EXPECT_FALSE(handler.IsEnabled());
}

TEST(TraceEventHandler, AttachSharesTheMapAndDropsTheEarlierOne) {
    RecordingHandler handler;
    auto first = std::make_shared<ThreadProcessMap>();
    const auto second = std::make_shared<ThreadProcessMap>();
    const std::weak_ptr<ThreadProcessMap> watched = first;
    handler.Attach(std::move(first));
    EXPECT_FALSE(watched.expired());
    handler.Attach(second);
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(handler.ThreadMap(), second);
}

TEST(TraceEventHandler, WithoutWatchedProcessEveryProcessIsWatched) {
    const RecordingHandler handler;
    EXPECT_TRUE(handler.IsWatchedProcess(0));
    EXPECT_TRUE(handler.IsWatchedProcess(4711));
}

TEST(TraceEventHandler, OnlyTheAddedProcessesAreWatched) {
    RecordingHandler handler;
    handler.AddWatchedProcess(10);
    handler.AddWatchedProcess(20);
    EXPECT_TRUE(handler.IsWatchedProcess(10));
    EXPECT_TRUE(handler.IsWatchedProcess(20));
    EXPECT_FALSE(handler.IsWatchedProcess(30));
    EXPECT_FALSE(handler.IsWatchedProcess(0));
}

TEST(OnEvent, LogHeaderSetsThePointerSizeOfAllLaterEvents) {
    RecordingHandler handler;
    TraceBuilder(4).SetValue(1, L"V").Play(handler);
    EXPECT_EQ(handler.PointerSize(), 4U);
    EXPECT_EQ(handler.decoded.back().pointerSize, 4U);
}

TEST(OnEvent, PointerSizeIsTakenFromAHeaderThatIsNotAccepted) {
    RecordingHandler handler;
    handler.onlyGuid = RegistryGuid;
    TraceBuilder(4).Play(handler);
    EXPECT_EQ(handler.PointerSize(), 4U);
    EXPECT_EQ(handler.Counters().eventsSeen, 1U);
    EXPECT_EQ(handler.Counters().eventsAccepted, 0U);
}

TEST(OnEvent, AcceptedHeaderIsPassedOnLikeAnyEvent) {
    RecordingHandler handler;
    TraceBuilder(8).Play(handler);
    ASSERT_EQ(handler.decoded.size(), 1U);
    EXPECT_EQ(handler.decoded[0].type, 0);
    EXPECT_EQ(handler.Counters().eventsAccepted, 1U);
}

TEST(OnEvent, HeaderTooShortForThePointerSizeLeavesIt) {
    RecordingHandler handler;
    TraceEvent header;
    header.guid = EventTraceGuid;
    const std::vector<std::byte> payload = PayloadBuilder().Zeros(44).U16(4).U8(0).bytes;
    header.payload = payload;
    handler.OnEvent(header);
    EXPECT_EQ(handler.PointerSize(), 8U);
}

TEST(OnEvent, OtherEventsOfTheLogItselfAreNotTheHeader) {
    RecordingHandler handler;
    TraceBuilder trace(8);
    trace.Add(EventTraceGuid, 32, PayloadBuilder().Zeros(44).U32(4).bytes);
    trace.Add(RegistryGuid, 0, PayloadBuilder().Zeros(44).U32(4).bytes);
    trace.Play(handler);
    EXPECT_EQ(handler.PointerSize(), 8U);
}

TEST(OnEvent, RejectedEventIsOnlyCounted) {
    RecordingHandler handler;
    handler.onlyGuid = RegistryGuid;
    TraceBuilder().Add(ThreadGuid, 1, PayloadBuilder().U32(1).bytes).Play(handler);
    EXPECT_EQ(handler.Counters().eventsSeen, 2U);
    EXPECT_EQ(handler.Counters().eventsAccepted, 0U);
    EXPECT_EQ(handler.Counters().eventsWithData, 0U);
    EXPECT_TRUE(handler.decoded.empty());
}

TEST(OnEvent, EventWithoutPayloadIsCountedAndNotDecoded) {
    RecordingHandler handler;
    handler.onlyGuid = RegistryGuid;
    TraceBuilder().Add(RegistryGuid, registryevent::openKey, {}).Play(handler);
    EXPECT_EQ(handler.Counters().eventsAccepted, 1U);
    EXPECT_EQ(handler.Counters().eventsWithoutData, 1U);
    EXPECT_EQ(handler.Counters().eventsWithData, 0U);
    EXPECT_TRUE(handler.decoded.empty());
}

TEST(OnEvent, FixedLayoutsPassNoValues) {
    RecordingHandler handler;
    handler.onlyGuid = RegistryGuid;
    TraceBuilder().SetValue(1, L"V").Play(handler);
    ASSERT_EQ(handler.decoded.size(), 1U);
    EXPECT_FALSE(handler.decoded[0].values);
    EXPECT_EQ(handler.Counters().eventsWithData, 1U);
    EXPECT_FALSE(handler.HasOpenedClasses());
}

// Rejects every event; unlike RecordingHandler it records nothing.
class RejectingHandler : public TraceEventHandler {
public:
    bool Accepts(const TraceEvent&) const override { return false; }
    void OnDecodedEvent(const TraceEvent&, const EventValues*) override { ++taken; }
    int taken = 0;
};

TEST(OnEvent, RejectedEventAllocatesNothing) {
    RejectingHandler handler;
    TraceBuilder trace;
    trace.SetValue(1, L"V").Add(ThreadGuid, 1, PayloadBuilder().U32(1).bytes);
    const std::vector<TraceBuilder::Event> events = trace.Events();
    const std::size_t before = AllocationCount();
    for (const TraceBuilder::Event& event : events) {
        handler.OnEvent(event.View());
    }
    EXPECT_EQ(AllocationCount(), before);
    EXPECT_EQ(handler.Counters().eventsSeen, 3U);
    EXPECT_EQ(handler.taken, 0);
}

TEST(OnEvent, SchemaPassesOneListForEachProperty) {
    SchemaHandler handler;
    handler.Describe(2, registryevent::setValue, {NumberProperty(L"A"), NumberProperty(L"B")});
    TraceBuilder trace;
    trace.Add(RegistryGuid, registryevent::setValue, PayloadBuilder().U32(11).U32(22).bytes);
    trace.Play(handler);
    ASSERT_EQ(handler.decoded.size(), 1U);
    ASSERT_TRUE(handler.decoded[0].values);
    ASSERT_EQ(handler.decoded[0].values->size(), 2U);
    EXPECT_EQ((*handler.decoded[0].values)[0].at(0).number, 11U);
    EXPECT_EQ((*handler.decoded[0].values)[1].at(0).number, 22U);
    EXPECT_EQ(handler.Counters().eventsWithData, 1U);
    EXPECT_EQ(handler.Counters().decodeFailures, 0U);
}

TEST(OnEvent, SchemaReadsPointersInTheWidthOfTheLog) {
    for (const std::uint32_t pointerSize : {4U, 8U}) {
        SchemaHandler handler;
        handler.Describe(2, registryevent::setValue, {PointerProperty(L"P"), NumberProperty(L"B")});
        PayloadBuilder payload;
        payload.U32(1);
        if (pointerSize == 8) {
            payload.U32(0);
        }
        payload.U32(22);
        TraceBuilder trace(pointerSize);
        trace.Add(RegistryGuid, registryevent::setValue, payload.bytes).Play(handler);
        ASSERT_EQ(handler.decoded.size(), 1U);
        EXPECT_EQ((*handler.decoded[0].values)[1].at(0).number, 22U) << pointerSize;
    }
}

TEST(OnEvent, EventWithoutClassHasNoValues) {
    SchemaHandler handler;
    TraceBuilder().SetValue(1, L"V").Play(handler);
    ASSERT_EQ(handler.decoded.size(), 1U);
    ASSERT_TRUE(handler.decoded[0].values);
    EXPECT_TRUE(handler.decoded[0].values->empty());
    EXPECT_EQ(handler.Counters().schemaFailures, 0U);
    EXPECT_EQ(handler.Counters().decodeFailures, 0U);
}

TEST(SchemaFor, SearchesByTheTextOfTheGuid) {
    SchemaHandler handler;
    handler.SchemaFor(RegistryEvent(14));
    EXPECT_EQ(handler.table->searches, std::vector<std::wstring>{L"{AE53722E-C863-11D2-8659-00C04FA321A1}"});
}

TEST(SchemaFor, EqualEventsAreSearchedOnce) {
    SchemaHandler handler;
    handler.Describe(2, 14, {NumberProperty(L"A")});
    const EventSchema* const first = handler.SchemaFor(RegistryEvent(14));
    const EventSchema* const second = handler.SchemaFor(RegistryEvent(14));
    EXPECT_EQ(first, second);
    EXPECT_EQ(first->properties.size(), 1U);
    EXPECT_EQ(handler.table->searches.size(), 1U);
}

TEST(SchemaFor, EachVersionAndTypeHasItsOwnSchema) {
    SchemaHandler handler;
    handler.Describe(2, 14, {NumberProperty(L"A")});
    handler.Describe(1, 14, {NumberProperty(L"B")});
    handler.Describe(2, 15, {NumberProperty(L"C")});
    EXPECT_EQ(handler.SchemaFor(RegistryEvent(14, 2))->properties.at(0).name, L"A");
    EXPECT_EQ(handler.SchemaFor(RegistryEvent(14, 1))->properties.at(0).name, L"B");
    EXPECT_EQ(handler.SchemaFor(RegistryEvent(15, 2))->properties.at(0).name, L"C");
    EXPECT_EQ(handler.table->searches.size(), 3U);
}

TEST(SchemaFor, EventWithoutClassIsSearchedEachTimeAndGetsTheEmptySchema) {
    SchemaHandler handler;
    const EventSchema* const first = handler.SchemaFor(RegistryEvent(14));
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(first->properties.empty());
    EXPECT_TRUE(handler.SchemaFor(RegistryEvent(14))->properties.empty());
    EXPECT_EQ(handler.table->searches.size(), 2U);
    EXPECT_EQ(handler.Schemas().size(), 1U);
    EXPECT_TRUE(handler.Schemas().contains(L""));
    EXPECT_EQ(handler.Counters().schemaFailures, 0U);
}

TEST(SchemaFor, UnreadableClassIsAFailureThatIsNotTriedAgain) {
    SchemaHandler handler;
    handler.table->classes[{2, 14}] = {SchemaLookup::unreadable, {NumberProperty(L"Left over")}};
    EXPECT_TRUE(handler.SchemaFor(RegistryEvent(14))->properties.empty());
    EXPECT_TRUE(handler.SchemaFor(RegistryEvent(14))->properties.empty());
    EXPECT_EQ(handler.table->searches.size(), 1U);
    EXPECT_EQ(handler.Counters().schemaFailures, 1U);
}

TEST(SchemaFor, SchemaKeepsThePointerSizeOfItsCreation) {
    SchemaHandler handler;
    handler.Describe(2, 14, {});
    handler.SchemaFor(RegistryEvent(14));
    TraceBuilder(4).Play(handler);
    EXPECT_EQ(handler.SchemaFor(RegistryEvent(14))->pointerSize, 8U);
    EXPECT_EQ(handler.SchemaFor(RegistryEvent(15))->pointerSize, 4U);
}

TEST(SchemaFor, EmptySchemaHasTheCurrentPointerSize) {
    SchemaHandler handler;
    EXPECT_EQ(handler.SchemaFor(RegistryEvent(14))->pointerSize, 8U);
    TraceBuilder(4).Play(handler);
    EXPECT_EQ(handler.SchemaFor(RegistryEvent(14))->pointerSize, 4U);
}

TEST(SchemaFor, EventClassesAreOpenedByTheFirstLookUp) {
    RecordingHandler handler;
    EXPECT_FALSE(handler.HasOpenedClasses());
    TraceEvent unheardOf;
    unheardOf.guid.data1 = 1;
    EXPECT_TRUE(handler.SchemaFor(unheardOf)->properties.empty());
    EXPECT_TRUE(handler.HasOpenedClasses());
}

} // namespace
} // namespace keyreap
