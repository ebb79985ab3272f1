#include "etl/registryevent.h"
#include "hostlogger/requestrecorder.h"
#include "tests/unit/etl/independentdecoder.h"
#include "tests/unit/etl/memorylog.h"
#include "tests/unit/hostlogger/requeststory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace keyreap {
namespace {

constexpr std::uint32_t firstProcess = 0x20;
constexpr std::uint32_t firstThread = 0x24;

const std::wstring softwareKey = L"\\REGISTRY\\Machine\\Software";

struct Event {
    independent::SystemTraceHeader header;
    independent::RegistryPayload payload;
};

// Records the requests of a story, and reads the log with the independent decoder.
class RequestRecorderTest : public testing::Test {
protected:
    static constexpr std::int64_t startTime = 5000;

    explicit RequestRecorderTest(ReportedNames names = {})
        : recorder(writer, story.registry, startTime, std::move(names)) {
        story.Process(firstProcess, firstThread);
        story.Open(firstThread, R"(\Registry\Machine\Software)", 4,
                   {.realPath = R"(REGISTRY\Machine\Software)"});
        Record();
    }

    // Records what was reported since the last call.
    void Record() {
        for (const KeyRequest& request : story.reported.requests) {
            if (started) {
                recorder.OnKeyRequest(request);
            }
        }
        started = true;
        story.reported.requests.clear();
        for (const ProcessStart& start : story.reported.starts) {
            recorder.OnProcessStart(start);
        }
        story.reported.starts.clear();
    }

    std::vector<Event> Events() {
        Record();
        recorder.RunDown(story.tracker);
        EXPECT_TRUE(writer.Finish(9000));
        std::vector<Event> events;
        for (const independent::Record& record : independent::Decode(sink.bytes).Events()) {
            events.push_back({record.header, independent::DecodeRegistry(record)});
        }
        return events;
    }

    std::vector<Event> EventsOfType(std::uint8_t type) {
        std::vector<Event> events = Events();
        std::erase_if(events, [&](const Event& event) { return event.header.PacketType != type; });
        return events;
    }

    // The one event of a type.
    Event EventOfType(std::uint8_t type) {
        const std::vector<Event> events = EventsOfType(type);
        EXPECT_EQ(events.size(), 1U);
        return events.empty() ? Event{} : events.front();
    }

    static EtlLogHeader Header() {
        EtlLogHeader header;
        header.bufferSize = 4096;
        return header;
    }

    RequestStory story;
    MemorySink sink;
    EtlWriter writer{sink, Header()};
    RequestRecorder recorder;
    bool started = writer.Begin(startTime, 1, 2) && false;
};

std::wstring NameOfBlock(const std::vector<Event>& events, std::uint64_t handle) {
    for (const Event& event : events) {
        const bool names = event.header.PacketType == registryevent::kcbCreate ||
                           event.header.PacketType == registryevent::kcbRundownEnd;
        if (names && event.payload.KeyHandle == handle) {
            return event.payload.KeyName;
        }
    }
    return {};
}

TEST_F(RequestRecorderTest, AnEventHasItsThreadsIdsItsTimeAndItsStatus) {
    story.Line("time 7000");
    story.SetValue(firstThread, 4, "Value", "ACCESS_DENIED");
    const Event event = EventOfType(registryevent::setValue);
    EXPECT_EQ(event.header.ProcessId, firstProcess);
    EXPECT_EQ(event.header.ThreadId, firstThread);
    EXPECT_EQ(event.header.SystemTime, 7000);
    EXPECT_EQ(event.header.Version, 2U);
    EXPECT_EQ(event.payload.InitialTime, 7000);
    EXPECT_EQ(event.payload.Status, 0xC0000022U);
    EXPECT_EQ(event.payload.Index, 0U);
    EXPECT_EQ(event.payload.KeyName, L"Value");
}

TEST_F(RequestRecorderTest, NoEventIsOlderThanTheStart) {
    story.Line("time 4000");
    story.SetValue(firstThread, 4, "Value");
    EXPECT_EQ(EventOfType(registryevent::setValue).header.SystemTime, startTime);
}

TEST_F(RequestRecorderTest, AStartOfAProcessIsRecordedIfThatIsAskedFor) {
    story.NewProcess(firstThread, 0x30, 0x60, 0, {}, 0, "early.exe");
    Record();
    recorder.RecordProcesses();
    story.Line("time 7000");
    story.NewProcess(firstThread, 0x34, 0x64, 0, {}, 0, "child.exe");
    Record();
    recorder.RunDown(story.tracker);
    EXPECT_TRUE(writer.Finish(9000));
    std::vector<independent::Record> starts = independent::Decode(sink.bytes).Events();
    std::erase_if(starts, [](const independent::Record& record) { return record.header.PacketGroup != 3; });
    ASSERT_EQ(starts.size(), 1U);
    EXPECT_EQ(starts[0].header.SystemTime, 7000);
    EXPECT_EQ(independent::DecodeProcess(starts[0]).ProcessId, 0x34U);
    EXPECT_EQ(independent::DecodeProcess(starts[0]).ParentId, firstProcess);
    EXPECT_EQ(independent::DecodeProcess(starts[0]).ImageFileName, "child.exe");
}

TEST_F(RequestRecorderTest, AKeysControlBlockIsNamedAheadOfTheEventThatMadeIt) {
    story.Create(firstThread, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    const std::vector<Event> events = Events();
    ASSERT_GE(events.size(), 2U);
    EXPECT_EQ(events[0].header.PacketType, registryevent::kcbCreate);
    EXPECT_EQ(events[0].payload.KeyName, softwareKey + L"\\A");
    EXPECT_NE(events[0].payload.KeyHandle, 0U);
    EXPECT_EQ(events[0].payload.Status, 0U);
    EXPECT_EQ(events[1].header.PacketType, registryevent::createKey);
}

TEST_F(RequestRecorderTest, TheNameOfABlockIsASuccessWhateverTheStatusOfTheOpening) {
    story.Open(firstThread, "009", 8,
               {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\009)", .status = "PREDEFINED_HANDLE"});
    const std::vector<Event> events = Events();
    ASSERT_GE(events.size(), 2U);
    EXPECT_EQ(events[0].header.PacketType, registryevent::kcbCreate);
    EXPECT_EQ(events[0].payload.Status, 0U);
    EXPECT_EQ(events[1].header.PacketType, registryevent::openKey);
    EXPECT_EQ(events[1].payload.Status, 0x40000016U);
}

TEST_F(RequestRecorderTest, ARelativeNameHasTheBlockOfItsParent) {
    story.Open(firstThread, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    const std::vector<Event> events = Events();
    const auto open = std::ranges::find(events, registryevent::openKey,
                                        [](const Event& event) { return event.header.PacketType; });
    ASSERT_NE(open, events.end());
    EXPECT_EQ(open->payload.KeyName, L"A");
    EXPECT_EQ(NameOfBlock(events, open->payload.KeyHandle), softwareKey);
}

TEST_F(RequestRecorderTest, ACompleteNameHasNoBlock) {
    story.Open(firstThread, R"(\REGISTRY\User)", 8, {.realPath = R"(REGISTRY\User)"});
    const Event event = EventOfType(registryevent::openKey);
    EXPECT_EQ(event.payload.KeyHandle, 0U);
    EXPECT_EQ(event.payload.KeyName, L"\\REGISTRY\\User");
}

TEST_F(RequestRecorderTest, AKeyElsewhereThanItsNameIsRecordedUnderItsRealPath) {
    story.Open(firstThread, "Link", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\System)"});
    const Event event = EventOfType(registryevent::openKey);
    EXPECT_EQ(event.payload.KeyHandle, 0U);
    EXPECT_EQ(event.payload.KeyName, L"\\REGISTRY\\Machine\\System");
}

TEST_F(RequestRecorderTest, AKeyElsewhereIsRecordedSoEvenIfItsRealPathIsAsLong) {
    story.Open(firstThread, "Link", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\Real)"});
    story.Open(firstThread, "Link", 12, {.parent = 4, .realPath = R"(REGISTRY\Machine\Hardware\Link)"});
    story.Open(firstThread, "Link", 16, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software.Link)"});
    const std::vector<Event> events = EventsOfType(registryevent::openKey);
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[0].payload.KeyName, L"\\REGISTRY\\Machine\\Software\\Real");
    EXPECT_EQ(events[1].payload.KeyName, L"\\REGISTRY\\Machine\\Hardware\\Link");
    EXPECT_EQ(events[2].payload.KeyName, L"\\REGISTRY\\Machine\\Software.Link");
}

TEST_F(RequestRecorderTest, ARedirectedKeyIsRecordedUnderItsRealPath) {
    story.Process(0x30, 0x34, RequestStory::machine32);
    story.Create(0x34, R"(\REGISTRY\Machine\Software\A)", 8);
    const Event event = EventOfType(registryevent::createKey);
    EXPECT_EQ(event.payload.KeyHandle, 0U);
    EXPECT_EQ(event.payload.KeyName, softwareKey + L"\\Wow6432Node\\A");
    EXPECT_EQ(event.payload.Status, 0U);
}

// A host where the account has another SID, and the nodes of the 32-bit view are in capitals.
class StrictRecorderTest : public RequestRecorderTest {
protected:
    StrictRecorderTest() : RequestRecorderTest(Names()) {}

private:
    static ReportedNames Names() {
        Strictness strictness;
        strictness.capitals = true;
        strictness.user = L"S-1-12-1-7";
        return {strictness, L"\\REGISTRY\\User\\S-1-5-21-0-0-0-1000"};
    }
};

TEST_F(StrictRecorderTest, TheKernelNamesANodeInCapitals) {
    story.Process(0x30, 0x34, RequestStory::machine32);
    story.Create(0x34, R"(\REGISTRY\Machine\Software\A)", 8);
    const std::vector<Event> events = Events();
    ASSERT_GE(events.size(), 2U);
    EXPECT_EQ(events[0].header.PacketType, registryevent::kcbCreate);
    EXPECT_EQ(events[0].payload.KeyName, softwareKey + L"\\WOW6432Node\\A");
    EXPECT_EQ(events[1].header.PacketType, registryevent::createKey);
    EXPECT_EQ(events[1].payload.KeyName, softwareKey + L"\\WOW6432Node\\A");
}

TEST_F(StrictRecorderTest, ANodeThatIsAskedForKeepsItsSpellingInTheNameAskedFor) {
    story.Open(firstThread, "Wow6432Node", 8,
               {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\Wow6432Node)"});
    EXPECT_EQ(EventOfType(registryevent::openKey).payload.KeyName, L"Wow6432Node");
}

TEST_F(StrictRecorderTest, TheUsersHiveHasItsSidInEveryName) {
    story.Open(firstThread, R"(\Registry\User\S-1-5-21-0-0-0-1000)", 8,
               {.realPath = R"(REGISTRY\User\S-1-5-21-0-0-0-1000)"});
    story.Open(firstThread, R"(\Registry\User)", 12, {.realPath = R"(REGISTRY\User)"});
    story.Open(firstThread, R"(S-1-5-21-0-0-0-1000\A)", 16,
               {.parent = 12, .realPath = R"(REGISTRY\User\S-1-5-21-0-0-0-1000\A)"});
    std::vector<std::wstring> names;
    for (const Event& event : Events()) {
        names.push_back(event.payload.KeyName);
    }
    names.resize(6);
    const std::wstring hive = L"\\REGISTRY\\USER\\S-1-12-1-7";
    const std::wstring users = L"\\REGISTRY\\User";
    EXPECT_EQ(names, (std::vector<std::wstring>{hive, hive, users, L"\\Registry\\User", hive + L"\\A",
                                                L"S-1-12-1-7\\A"}));
}

TEST_F(RequestRecorderTest, AFailureIsRecordedAsAskedFor) {
    story.Open(firstThread, "Missing", 0, {.parent = 4, .status = "OBJECT_NAME_NOT_FOUND"});
    const std::vector<Event> events = Events();
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events[0].header.PacketType, registryevent::openKey);
    EXPECT_EQ(events[0].payload.Status, 0xC0000034U);
    EXPECT_EQ(events[0].payload.KeyName, L"Missing");
    EXPECT_EQ(NameOfBlock(events, events[0].payload.KeyHandle), softwareKey);
}

TEST_F(RequestRecorderTest, EveryTypeOfRequestHasItsEvent) {
    story.Create(firstThread, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    story.SetValue(firstThread, 8, "V");
    story.QueryValue(firstThread, 8, "V");
    story.DeleteValue(firstThread, 8, "V");
    story.Rename(firstThread, 8, "B");
    story.DeleteKey(firstThread, 8);
    story.Close(firstThread, 8);
    std::vector<int> types;
    for (const Event& event : Events()) {
        types.push_back(event.header.PacketType);
    }
    types.resize(8);
    EXPECT_EQ(types, (std::vector<int>{22, 10, 14, 16, 15, 20, 12, 27}));
}

TEST_F(RequestRecorderTest, TheEventOfARenamingHasNoNewName) {
    story.Rename(firstThread, 4, "New");
    EXPECT_EQ(EventOfType(registryevent::setInformation).payload.KeyName, L"");
}

TEST_F(RequestRecorderTest, AllEventsOfAKeyHaveOneBlock) {
    story.SetValue(firstThread, 4, "A");
    story.Open(firstThread, R"(\registry\MACHINE\software)", 8, {.realPath = R"(REGISTRY\MACHINE\software)"});
    story.SetValue(firstThread, 8, "B");
    const std::vector<Event> events = EventsOfType(registryevent::setValue);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].payload.KeyHandle, events[1].payload.KeyHandle);
}

TEST_F(RequestRecorderTest, OtherKeysHaveOtherBlocks) {
    story.Open(firstThread, R"(\REGISTRY\User)", 8, {.realPath = R"(REGISTRY\User)"});
    story.SetValue(firstThread, 4, "A");
    story.SetValue(firstThread, 8, "B");
    const std::vector<Event> events = EventsOfType(registryevent::setValue);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_NE(events[0].payload.KeyHandle, events[1].payload.KeyHandle);
}

TEST_F(RequestRecorderTest, ABlockIsMadeOnce) {
    story.Open(firstThread, R"(\REGISTRY\User)", 8, {.realPath = R"(REGISTRY\User)"});
    story.Close(firstThread, 8);
    story.Open(firstThread, R"(\REGISTRY\User)", 8, {.realPath = R"(REGISTRY\User)"});
    EXPECT_EQ(EventsOfType(registryevent::kcbCreate).size(), 1U);
}

TEST_F(RequestRecorderTest, TheRundownNamesKeysThatWereOpenBefore) {
    story.SetValue(firstThread, 4, "A");
    const std::vector<Event> events = Events();
    EXPECT_EQ(NameOfBlock(events, events.at(0).payload.KeyHandle), softwareKey);
    EXPECT_EQ(events.back().header.PacketType, registryevent::kcbRundownEnd);
}

TEST_F(RequestRecorderTest, TheRundownNamesKeysThatWereOpenBeforeAndAreClosed) {
    story.SetValue(firstThread, 4, "A");
    story.Close(firstThread, 4);
    const std::vector<Event> events = Events();
    EXPECT_EQ(NameOfBlock(events, events.at(0).payload.KeyHandle), softwareKey);
}

TEST_F(RequestRecorderTest, TheRundownNamesEveryOpenKeyOnce) {
    story.Duplicate(firstThread, RequestStory::self, 4, RequestStory::self, 8);
    story.Open(firstThread, R"(\Registry\Machine\Software)", 12,
               {.realPath = R"(REGISTRY\Machine\Software)"});
    story.Open(firstThread, R"(\REGISTRY\User)", 16, {.realPath = R"(REGISTRY\User)"});
    const std::vector<Event> events = EventsOfType(registryevent::kcbRundownEnd);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].payload.KeyName, softwareKey);
    EXPECT_EQ(events[1].payload.KeyName, L"\\REGISTRY\\User");
}

TEST_F(RequestRecorderTest, AnOpenKeyThatWasNeverUsedIsNamedToo) {
    const Event event = EventOfType(registryevent::kcbRundownEnd);
    EXPECT_EQ(event.payload.KeyName, softwareKey);
    EXPECT_EQ(event.header.SystemTime, startTime);
}

TEST_F(RequestRecorderTest, NamesAreKeptUnitByUnit) {
    story.Line(R"(0024: delete_key_value( hkey=0004, name=L"V\xe9\xd83d\xde00" ))");
    story.Line("0024: delete_key_value() = 0");
    EXPECT_EQ(EventOfType(registryevent::deleteValue).payload.KeyName,
              (std::wstring{L'V', 0xE9, 0xD83D, 0xDE00}));
}

} // namespace
} // namespace keyreap
