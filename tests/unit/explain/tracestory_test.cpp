#include "etl/etlreader.h"
#include "etl/etlwriter.h"
#include "kit/explain/tracestory.h"
#include "tests/support/tracebuilder.h"
#include "tests/unit/etl/memorylog.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr std::uint32_t own = 0x20;
constexpr std::uint32_t child = 0x30;
constexpr std::uint32_t stranger = 0x99;
constexpr std::uint64_t handle = 0xFFFFF8A000123450;
constexpr wchar_t acme[] = L"\\REGISTRY\\MACHINE\\SOFTWARE\\Acme";
constexpr wchar_t wowAcme[] = L"\\REGISTRY\\MACHINE\\SOFTWARE\\Wow6432Node\\Acme";

std::vector<std::byte> Start(std::uint32_t id, std::uint32_t parent, std::string_view image) {
    return PayloadBuilder().U64(0).U32(id).U32(parent).U32(1).U32(0).U32(0).Narrow(image).U8(0).bytes;
}

TraceBuilder& AddStart(TraceBuilder& trace, std::uint32_t id, std::uint32_t parent, std::string_view image) {
    return trace.Add(ProcessGuid, 1, Start(id, parent, image));
}

Story StoryOf(const TraceBuilder& trace, bool is32Bit = false) {
    TraceStory story(own, L"own.exe", is32Bit);
    trace.Play(story);
    return story.Take();
}

TEST(TraceStory, AnOperationHasItsKeyItsValueItsStatusAndItsThread) {
    TraceBuilder trace;
    trace.KeyHandleNamed(handle, acme).ByProcess(own).ByThread(7).SetValue(handle, L"Name", 0xC0000022);
    const Story story = StoryOf(trace);
    ASSERT_EQ(story.operations.size(), 1U);
    const StoryOperation& operation = story.operations[0];
    EXPECT_EQ(operation.type, registryevent::setValue);
    EXPECT_EQ(operation.keyPath, acme);
    EXPECT_EQ(operation.valueName, L"Name");
    EXPECT_EQ(operation.status, 0xC0000022U);
    EXPECT_EQ(operation.threadId, 7U);
    EXPECT_EQ(story.processes[operation.process].imageName, L"own.exe");
    EXPECT_EQ(operation.phase, StoryPhase::During);
}

TEST(TraceStory, ANameBelowAHandleIsWhole) {
    TraceBuilder trace;
    trace.KeyHandleNamed(handle, acme).ByProcess(own).CreateKey(handle, L"Sub\\Key").CreateKey(0, wowAcme);
    const Story story = StoryOf(trace);
    ASSERT_EQ(story.operations.size(), 2U);
    EXPECT_EQ(story.operations[0].keyPath, std::wstring(acme) + L"\\Sub\\Key");
    EXPECT_EQ(story.operations[1].keyPath, wowAcme);
}

TEST(TraceStory, AKeyThatWasOpenBeforeHasTheNameOfTheRundown) {
    TraceBuilder trace;
    trace.OpenBefore(handle, acme).ByProcess(own).SetValue(handle, L"Name").CreateKey(handle, L"Sub");
    const Story story = StoryOf(trace);
    ASSERT_EQ(story.operations.size(), 2U);
    EXPECT_EQ(story.operations[0].keyPath, acme);
    EXPECT_EQ(story.operations[1].keyPath, std::wstring(acme) + L"\\Sub");
}

TEST(TraceStory, AKeyIsNamedAsItWasAtTheTime) {
    TraceBuilder trace;
    trace.ByProcess(own).KeyHandleNamed(handle, acme).SetValue(handle, L"a");
    trace.KeyHandleNamed(handle, L"\\REGISTRY\\USER").SetValue(handle, L"b");
    const Story story = StoryOf(trace);
    ASSERT_EQ(story.operations.size(), 2U);
    EXPECT_EQ(story.operations[0].keyPath, acme);
    EXPECT_EQ(story.operations[1].keyPath, L"\\REGISTRY\\USER");
}

TEST(TraceStory, TimesCountFromTheLogsHeader) {
    TraceBuilder trace; // whose header has the time 1
    trace.ByProcess(own).AtTime(50'001).CreateKey(0, acme);
    const Story story = StoryOf(trace);
    ASSERT_EQ(story.operations.size(), 1U);
    EXPECT_EQ(story.operations[0].time, 50'000);
}

TEST(TraceStory, AStartedProcessHasItsImageAndItsParent) {
    TraceBuilder trace;
    AddStart(trace, child, own, "child.exe").ByProcess(child).CreateKey(0, acme);
    const Story story = StoryOf(trace);
    ASSERT_EQ(story.operations.size(), 1U);
    const StoryProcess& process = story.processes[story.operations[0].process];
    EXPECT_EQ(process.imageName, L"child.exe");
    EXPECT_TRUE(process.isOfCapture);
    ASSERT_NE(process.parent, noIndex);
    EXPECT_EQ(story.processes[process.parent].id, own);
}

TEST(TraceStory, AProcessThatRanBeforeIsNamedByTheRundown) {
    TraceBuilder trace;
    trace.Add(ProcessGuid, 3, Start(stranger, 4, "services.exe")).Add(ProcessGuid, 3, Start(own, 4, "cut"));
    trace.ByProcess(stranger).CreateKey(0, acme).ByProcess(own).CreateKey(0, acme);
    const Story story = StoryOf(trace);
    ASSERT_EQ(story.operations.size(), 2U);
    EXPECT_EQ(story.processes[story.operations[0].process].imageName, L"services.exe");
    EXPECT_FALSE(story.processes[story.operations[0].process].isOfCapture);
    EXPECT_EQ(story.processes[story.operations[1].process].imageName, L"own.exe");
}

TEST(TraceStory, OfAProcessThatRanBeforeOnlyChangesAreKept) {
    TraceBuilder trace;
    AddStart(trace, child, own, "child.exe");
    for (const std::uint32_t process : {stranger, child, own}) {
        trace.ByProcess(process).KeyHandleNamed(handle, acme).OpenKey(0, acme).QueryValue(handle, L"a");
        trace.CreateKey(0, acme).DeleteKey(handle).SetValue(handle, L"a").DeleteValue(handle, L"a");
    }
    const Story story = StoryOf(trace);
    const auto count = [&](std::uint32_t id) {
        return std::ranges::count_if(story.operations, [&](const StoryOperation& operation) {
            return story.processes[operation.process].id == id;
        });
    };
    EXPECT_EQ(count(stranger), 4);
    EXPECT_EQ(count(child), 6);
    EXPECT_EQ(count(own), 6);
}

TEST(TraceStory, OtherEventsAreNoOperations) {
    TraceBuilder trace;
    trace.ByProcess(own).KeyHandleNamed(handle, acme).QueryKey(handle);
    for (const std::uint8_t type :
         {registryevent::enumerateKey, registryevent::enumerateValue, registryevent::setInformation,
          registryevent::flush, registryevent::close, registryevent::querySecurity}) {
        RegistryFields fields;
        fields.keyHandle = handle;
        trace.Registry(type, fields);
    }
    EXPECT_TRUE(StoryOf(trace).operations.empty());
}

TEST(TraceStory, TheNodeIsTheOtherViewOfA64BitServer) {
    TraceBuilder trace;
    trace.ByProcess(own).CreateKey(0, wowAcme).CreateKey(0, acme);
    const Story story = StoryOf(trace);
    ASSERT_EQ(story.operations.size(), 2U);
    EXPECT_TRUE(story.operations[0].isOtherView);
    EXPECT_EQ(story.operations[0].keyPath, wowAcme);
    EXPECT_FALSE(story.operations[1].isOtherView);
}

TEST(TraceStory, A32BitServerHasOneNameForBothViews) {
    TraceBuilder trace;
    trace.ByProcess(own).CreateKey(0, acme).KeyHandleNamed(handle, wowAcme).SetValue(handle, L"a");
    const Story story = StoryOf(trace, true);
    ASSERT_EQ(story.operations.size(), 2U);
    for (const StoryOperation& operation : story.operations) {
        EXPECT_EQ(operation.keyPath, acme);
        EXPECT_FALSE(operation.isOtherView);
    }
}

// Passes the events of a log to a handler, as a reader of the system's does.
class HandlerListener : public EtlListener {
public:
    explicit HandlerListener(TraceEventHandler& handler) : handler(handler) {}

    void OnEvent(const EtlEvent& event) override { handler.OnEvent(event); }

private:
    TraceEventHandler& handler;
};

TEST(TraceStory, ComesFromALogThatTheWriterOfLogsMade) {
    MemorySink sink;
    EtlWriter writer(sink, {});
    writer.Begin(1000, own, 1);
    writer.Write(EtlProcessStart{2000, child, own, L"child.exe"});
    writer.Write({registryevent::createKey, 3000, child, 9, 0, 0, 0, 0, acme});
    writer.Write({registryevent::setValue, 31'000, child, 9, 0, 0, 0, handle, L"Name"});
    writer.Write({registryevent::kcbRundownEnd, 32'000, own, 1, 0, 0, 0, handle, acme});
    writer.Finish(40'000);
    MemorySource source(sink.bytes);
    EtlReader reader(source);
    ASSERT_TRUE(reader.Open());
    TraceStory trace(own, L"own.exe", false);
    HandlerListener listener(trace);
    ASSERT_TRUE(reader.Process(listener));
    trace.OnFinished();
    const Story story = trace.Take();
    ASSERT_EQ(story.operations.size(), 2U);
    EXPECT_EQ(story.operations[1].keyPath, acme);
    EXPECT_EQ(story.operations[1].valueName, L"Name");
    EXPECT_EQ(story.operations[1].time, 30'000);
    EXPECT_EQ(story.processes[story.operations[1].process].imageName, L"child.exe");
}

} // namespace
} // namespace keyreap
