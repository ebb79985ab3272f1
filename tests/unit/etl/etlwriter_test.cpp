#include "etl/etlwriter.h"
#include "tests/support/allocationcount.h"
#include "tests/unit/etl/independentdecoder.h"
#include "tests/unit/etl/memorylog.h"

#include <gtest/gtest.h>

#include <string>

namespace keyreap {
namespace {

EtlLogHeader SmallLog() {
    EtlLogHeader header;
    header.bufferSize = 1024;
    header.logFileMode = 1;
    header.loggerName = L"NT Kernel Logger";
    header.logFileName = L"C:\\temp\\ETL1.etl";
    return header;
}

EtlRegistryEvent CreateKey(std::wstring_view name) {
    EtlRegistryEvent event;
    event.type = 10;
    event.time = 5000;
    event.keyName = name;
    return event;
}

// A log with these events, read by the independent decoder.
independent::Log Written(const std::vector<EtlRegistryEvent>& events,
                         const EtlLogHeader& header = SmallLog()) {
    MemorySink sink;
    EtlWriter writer(sink, header);
    EXPECT_TRUE(writer.Begin(4000, 11, 12));
    for (const EtlRegistryEvent& event : events) {
        EXPECT_TRUE(writer.Write(event));
    }
    EXPECT_TRUE(writer.Finish(9000));
    return independent::Decode(sink.bytes);
}

TEST(EtlWriter, ALogWithoutEventsIsOneBuffer) {
    const independent::Log log = Written({});
    ASSERT_EQ(log.buffers.size(), 1U);
    EXPECT_EQ(log.buffers[0].header.BufferType, 4U);
    EXPECT_EQ(log.buffers[0].records.size(), 1U);
}

TEST(EtlWriter, TheLogHeaderHasABufferOfItsOwn) {
    const independent::Log log = Written({CreateKey(L"A")});
    ASSERT_EQ(log.buffers.size(), 2U);
    EXPECT_EQ(log.buffers[0].records.size(), 1U);
    EXPECT_EQ(log.buffers[1].records.size(), 1U);
    EXPECT_EQ(log.header.StartBuffers, 1U);
}

TEST(EtlWriter, TheLogHeaderEventHasTheTimeAndTheIdsGivenToBegin) {
    const independent::SystemTraceHeader header = Written({}).buffers[0].records[0].header;
    EXPECT_EQ(header.SystemTime, 4000);
    EXPECT_EQ(header.ProcessId, 11U);
    EXPECT_EQ(header.ThreadId, 12U);
    EXPECT_EQ(header.Version, 2U);
}

TEST(EtlWriter, TheLogHeaderHasTheFieldsGiven) {
    EtlLogHeader given = SmallLog();
    given.majorVersion = 6;
    given.minorVersion = 1;
    given.providerVersion = 7601;
    given.numberOfProcessors = 4;
    given.timerResolution = 100'000;
    given.maximumFileSize = 20;
    given.cpuSpeedInMHz = 2400;
    given.timeZoneBias = -120;
    given.bootTime = 21;
    given.perfFreq = 22;
    given.startTime = 23;
    given.reservedFlags = 2;
    given.buffersLost = 24;
    const independent::Log log = Written({}, given);
    EXPECT_EQ(log.header.MajorVersion, 6U);
    EXPECT_EQ(log.header.MinorVersion, 1U);
    EXPECT_EQ(log.header.SubVersion, 1U);
    EXPECT_EQ(log.header.SubMinorVersion, 5U);
    EXPECT_EQ(log.header.ProviderVersion, 7601U);
    EXPECT_EQ(log.header.NumberOfProcessors, 4U);
    EXPECT_EQ(log.header.TimerResolution, 100'000U);
    EXPECT_EQ(log.header.MaximumFileSize, 20U);
    EXPECT_EQ(log.header.LogFileMode, 1U);
    EXPECT_EQ(log.header.CpuSpeedInMHz, 2400U);
    EXPECT_EQ(log.header.Bias, -120);
    EXPECT_EQ(log.header.BootTime, 21);
    EXPECT_EQ(log.header.PerfFreq, 22);
    EXPECT_EQ(log.header.StartTime, 23);
    EXPECT_EQ(log.header.ReservedFlags, 2U);
    EXPECT_EQ(log.header.BuffersLost, 24U);
    EXPECT_EQ(log.loggerName, L"NT Kernel Logger");
    EXPECT_EQ(log.logFileName, L"C:\\temp\\ETL1.etl");
}

TEST(EtlWriter, FinishRecordsTheEndTheBuffersAndTheLostEvents) {
    const std::wstring long_(600, L'x');
    const independent::Log log = Written({CreateKey(L"A"), CreateKey(long_), CreateKey(long_)});
    EXPECT_EQ(log.header.EndTime, 9000);
    EXPECT_EQ(log.header.BuffersWritten, 2U);
    EXPECT_EQ(log.header.EventsLost, 2U);
}

TEST(EtlWriter, EventsThatWereLostElsewhereCountToo) {
    EtlLogHeader header = SmallLog();
    header.eventsLost = 40;
    const std::wstring long_(600, L'x');
    EXPECT_EQ(Written({CreateKey(long_)}, header).header.EventsLost, 41U);
}

// ETW_BUFFER_FLAG_EVENTS_LOST (ntwmi.h) is 2, beside the flag of a flush.
TEST(EtlWriter, TheFirstBufferAfterALossIsMarked) {
    EtlLogHeader header = SmallLog();
    header.eventsLost = 1;
    const std::wstring half(300, L'x');
    const independent::Log log = Written({CreateKey(half), CreateKey(half)}, header);
    ASSERT_EQ(log.buffers.size(), 3U);
    EXPECT_EQ(log.buffers[1].header.BufferFlag, 2U);
    EXPECT_EQ(log.buffers[2].header.BufferFlag, 1U);
}

TEST(EtlWriter, BeginWritesALogHeaderWithoutAnEnd) {
    MemorySink sink;
    EtlWriter writer(sink, SmallLog());
    EXPECT_TRUE(writer.Begin(4000, 11, 12));
    const independent::Log log = independent::Decode(sink.bytes);
    EXPECT_EQ(log.header.EndTime, 0);
    EXPECT_EQ(log.header.BuffersWritten, 1U);
}

TEST(EtlWriter, ARegistryEventIsASystemEventOfVersion2) {
    EtlRegistryEvent event;
    event.type = 14;
    event.time = 5001;
    event.processId = 77;
    event.threadId = 78;
    event.initialTime = 4999;
    event.status = 0xC0000034;
    event.index = 3;
    event.keyHandle = 0xFFFFF80012345678;
    event.keyName = L"Version";
    const std::vector<independent::Record> events = Written({event}).Events();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].header.Version, 2U);
    EXPECT_EQ(events[0].header.PacketGroup, 9U);
    EXPECT_EQ(events[0].header.PacketType, 14U);
    EXPECT_EQ(events[0].header.ProcessId, 77U);
    EXPECT_EQ(events[0].header.ThreadId, 78U);
    EXPECT_EQ(events[0].header.SystemTime, 5001);
    EXPECT_EQ(events[0].header.KernelTime, 0U);
    EXPECT_EQ(events[0].header.UserTime, 0U);
    const independent::RegistryPayload payload = independent::DecodeRegistry(events[0]);
    EXPECT_EQ(payload.InitialTime, 4999);
    EXPECT_EQ(payload.Status, 0xC0000034U);
    EXPECT_EQ(payload.Index, 3U);
    EXPECT_EQ(payload.KeyHandle, 0xFFFFF80012345678U);
    EXPECT_EQ(payload.KeyName, L"Version");
}

TEST(EtlWriter, NamesAreUnitsOfAnyValueAndAnyLength) {
    const std::wstring_view names[] = {L"", L"a", L"\\REGISTRY\\MACHINE", L"\xD83D\xDE00\xD800",
                                       L"\xFFFF\x0001"};
    for (const std::wstring_view name : names) {
        const auto events = Written({CreateKey(name)}).Events();
        ASSERT_EQ(events.size(), 1U);
        EXPECT_EQ(independent::DecodeRegistry(events[0]).KeyName, name);
    }
}

// The independent decoder checks that no record exceeds its buffer, and the padding of buffers and records.
TEST(EtlWriter, EventsFillBuffersInTheOrderOfTheCalls) {
    std::vector<std::wstring> names;
    for (std::size_t i = 0; i < 300; ++i) {
        names.push_back(std::to_wstring(i) + std::wstring(i % 37, L'n'));
    }
    std::vector<EtlRegistryEvent> events;
    for (const std::wstring& name : names) {
        events.push_back(CreateKey(name));
    }
    const independent::Log log = Written(events);
    const std::vector<independent::Record> records = log.Events();
    ASSERT_EQ(records.size(), names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(independent::DecodeRegistry(records[i]).KeyName, names[i]);
    }
    for (std::size_t i = 0; i < log.buffers.size(); ++i) {
        EXPECT_EQ(log.buffers[i].header.SequenceNumber, static_cast<std::int64_t>(i));
    }
    EXPECT_EQ(log.header.BuffersWritten, log.buffers.size());
}

TEST(EtlWriter, AnEventThatFillsABufferToTheLastByteFits) {
    const std::size_t largest = (1024 - 72 - 32 - 24) / 2 - 1;
    const std::wstring fitting(largest, L'f');
    const std::wstring tooLong(largest + 1, L't');
    const independent::Log log = Written({CreateKey(fitting), CreateKey(tooLong), CreateKey(fitting)});
    ASSERT_EQ(log.Events().size(), 2U);
    EXPECT_EQ(log.buffers[1].header.SavedOffset, 1024U);
    EXPECT_EQ(log.buffers[2].header.SavedOffset, 1024U);
    EXPECT_EQ(log.header.EventsLost, 1U);
}

TEST(EtlWriter, AnEventOf64KilobytesIsLostEvenInALargeBuffer) {
    EtlLogHeader header = SmallLog();
    header.bufferSize = 256 * 1024;
    const std::size_t largest = (0xFFFF - 32 - 24) / 2 - 1;
    const std::wstring fitting(largest, L'f');
    const std::wstring tooLong(largest + 1, L't');
    const independent::Log log = Written({CreateKey(fitting), CreateKey(tooLong)}, header);
    ASSERT_EQ(log.Events().size(), 1U);
    EXPECT_EQ(independent::DecodeRegistry(log.Events()[0]).KeyName, fitting);
    EXPECT_EQ(log.header.EventsLost, 1U);
}

TEST(EtlWriter, ABufferIsStampedWithItsLastEventsTime) {
    EtlRegistryEvent early = CreateKey(L"A");
    EtlRegistryEvent late = CreateKey(L"B");
    late.time = 6000;
    const independent::Log log = Written({early, late});
    EXPECT_EQ(log.buffers[1].header.TimeStamp, 6000);
    EXPECT_EQ(log.buffers[1].header.BufferType, 0U);
    EXPECT_EQ(log.buffers[1].header.BufferFlag, 1U);
}

TEST(EtlWriter, AFileNameThatDoesNotFitIsTruncated) {
    EtlLogHeader header = SmallLog();
    header.logFileName = std::wstring(2000, L'p');
    const independent::Log log = Written({CreateKey(L"A")}, header);
    EXPECT_EQ(log.loggerName, L"NT Kernel Logger");
    EXPECT_EQ(log.buffers[0].header.SavedOffset, 1024U);
    EXPECT_EQ(log.logFileName, header.logFileName.substr(0, log.logFileName.size()));
    EXPECT_FALSE(log.logFileName.empty());
}

TEST(EtlWriter, NothingIsWrittenAfterTheSinkHasFailed) {
    MemorySink sink;
    sink.failFrom = 2;
    EtlWriter writer(sink, SmallLog());
    EXPECT_TRUE(writer.Begin(4000, 11, 12));
    std::size_t written = 0;
    while (writer.Write(CreateKey(L"Name")) && written < 1000) {
        ++written;
    }
    EXPECT_EQ(sink.calls, 3U);
    EXPECT_LT(written, 1000U);
    sink.failFrom = SIZE_MAX;
    EXPECT_FALSE(writer.Write(CreateKey(L"Name")));
    EXPECT_FALSE(writer.Finish(9000));
    EXPECT_EQ(sink.calls, 3U);
}

TEST(EtlWriter, AFailureOfTheSinkAtTheEndIsReported) {
    MemorySink sink;
    EtlWriter writer(sink, SmallLog());
    EXPECT_TRUE(writer.Begin(4000, 11, 12));
    EXPECT_TRUE(writer.Write(CreateKey(L"Name")));
    sink.failFrom = sink.calls + 1;
    EXPECT_FALSE(writer.Finish(9000));
}

TEST(EtlWriter, AllocatesNothingForEvents) {
    class Discarding : public EtlSink {
    public:
        bool Write(std::uint64_t, std::span<const std::byte>) override { return true; }
    };
    Discarding sink;
    EtlWriter writer(sink, SmallLog());
    writer.Begin(4000, 11, 12);
    const std::size_t before = AllocationCount();
    for (int i = 0; i < 1000; ++i) {
        writer.Write(CreateKey(L"Name"));
    }
    EXPECT_EQ(AllocationCount(), before);
}

// A log with these starts, read by the independent decoder.
std::vector<independent::Record> WrittenStarts(const std::vector<EtlProcessStart>& starts) {
    MemorySink sink;
    EtlWriter writer(sink, SmallLog());
    EXPECT_TRUE(writer.Begin(4000, 11, 12));
    for (const EtlProcessStart& start : starts) {
        EXPECT_TRUE(writer.Write(start));
    }
    EXPECT_TRUE(writer.Finish(9000));
    return independent::Decode(sink.bytes).Events();
}

TEST(EtlWriter, AStartOfAProcessIsAnEventOfItsParent) {
    const std::vector<independent::Record> records = WrittenStarts({{5000, 0x30, 0x20, L"child.exe"}});
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].header.PacketType, 1U);
    EXPECT_EQ(records[0].header.Version, 2U);
    EXPECT_EQ(records[0].header.SystemTime, 5000);
    EXPECT_EQ(records[0].header.ProcessId, 0x20U);
    const independent::ProcessPayload payload = independent::DecodeProcess(records[0]);
    EXPECT_EQ(payload.UniqueProcessKey, 0U);
    EXPECT_EQ(payload.ProcessId, 0x30U);
    EXPECT_EQ(payload.ParentId, 0x20U);
    EXPECT_EQ(payload.ImageFileName, "child.exe");
}

TEST(EtlWriter, AnImageIsLoggedAsNarrowText) {
    const std::vector<independent::Record> records =
        WrittenStarts({{1, 2, 3, L"\x00E4\x4E00~"}, {1, 2, 3, {}}});
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(independent::DecodeProcess(records[0]).ImageFileName, "??~");
    EXPECT_EQ(independent::DecodeProcess(records[1]).ImageFileName, "");
}

TEST(EtlWriter, AnImageThatIsTooLongIsLost) {
    MemorySink sink;
    EtlWriter writer(sink, SmallLog());
    writer.Begin(1, 2, 3);
    EXPECT_TRUE(writer.Write(EtlProcessStart{1, 2, 3, std::wstring(2000, L'a')}));
    EXPECT_EQ(writer.EventsLost(), 1U);
}

} // namespace
} // namespace keyreap
