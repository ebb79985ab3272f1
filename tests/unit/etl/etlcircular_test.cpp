#include "etl/etlreader.h"
#include "etl/etlwriter.h"
#include "tests/unit/etl/independentdecoder.h"
#include "tests/unit/etl/memorylog.h"

#include <gtest/gtest.h>

#include <string>

namespace keyreap {
namespace {

constexpr std::size_t megabyte = 1024 * 1024;

// Four buffers within a limit of one megabyte: the one with the log header, and three overwritten in turn.
EtlLogHeader TinyRing() {
    EtlLogHeader header;
    header.bufferSize = 256 * 1024;
    header.maximumFileSize = 1;
    header.logFileMode = 2;
    return header;
}

// Five events with this name fill a buffer.
const std::wstring longName(25'000, L'n');
constexpr std::uint32_t eventsPerBuffer = 5;

// A log of `count` events. The process id of each is its number, from 1 on.
Bytes LogOfEvents(std::uint32_t count, const EtlLogHeader& header = TinyRing()) {
    MemorySink sink;
    EtlWriter writer(sink, header);
    EXPECT_TRUE(writer.Begin(0, 0, 0));
    for (std::uint32_t number = 1; number <= count; ++number) {
        EtlRegistryEvent event;
        event.type = 10;
        event.time = number;
        event.processId = number;
        event.keyName = longName;
        EXPECT_TRUE(writer.Write(event));
    }
    EXPECT_TRUE(writer.Finish(1));
    return sink.bytes;
}

TEST(CircularLog, StaysBelowItsLimitAndOverwritesTheOldest) {
    for (std::uint32_t count = 0; count <= 50; ++count) {
        const Bytes log = LogOfEvents(count);
        ASSERT_LE(log.size(), megabyte) << count;
        const std::vector<std::uint32_t> ids = ProcessIds(ReadAll(log));
        ASSERT_EQ(ids.empty(), count == 0);
        for (std::size_t i = 0; i < ids.size(); ++i) {
            ASSERT_EQ(ids[ids.size() - 1 - i], count - i) << "of " << count;
        }
        // Two buffers are always full; the third, which is the newest, has at least one event.
        const std::size_t least = std::min(count, 2 * eventsPerBuffer + 1);
        ASSERT_GE(ids.size(), least);
        ASSERT_LE(ids.size(), 3 * eventsPerBuffer);
    }
}

TEST(CircularLog, NothingIsOverwrittenBelowTheLimit) {
    EXPECT_EQ(ProcessIds(ReadAll(LogOfEvents(15))).size(), 15U);
    EXPECT_EQ(ProcessIds(ReadAll(LogOfEvents(16))).size(), 11U);
}

TEST(CircularLog, TheLogHeaderIsKept) {
    const independent::Log log = independent::Decode(LogOfEvents(48));
    EXPECT_EQ(log.buffers[0].records.size(), 1U);
    EXPECT_EQ(log.header.LogFileMode, 2U);
    EXPECT_EQ(log.header.MaximumFileSize, 1U);
    EXPECT_EQ(log.header.StartBuffers, 1U);
    EXPECT_EQ(log.header.BuffersWritten, 11U); // overwritten ones count, too
    EXPECT_EQ(log.buffers.size(), 4U);
}

TEST(CircularLog, BuffersAreNumberedInTheOrderOfWriting) {
    const independent::Log log = independent::Decode(LogOfEvents(21)); // five buffers of events
    ASSERT_EQ(log.buffers.size(), 4U);
    EXPECT_EQ(log.buffers[1].header.SequenceNumber, 4);
    EXPECT_EQ(log.buffers[2].header.SequenceNumber, 5);
    EXPECT_EQ(log.buffers[3].header.SequenceNumber, 3);
    EXPECT_EQ(log.buffers[1].records[0].header.ProcessId, 16U);
    EXPECT_EQ(log.buffers[2].records[0].header.ProcessId, 21U);
    EXPECT_EQ(log.buffers[3].records[0].header.ProcessId, 11U);
}

TEST(CircularLog, KeepsOneBufferOfEventsHoweverLowTheLimit) {
    EtlLogHeader header = TinyRing();
    header.bufferSize = 1024 * 1024;
    const Bytes log = LogOfEvents(50, header);
    EXPECT_EQ(log.size(), 2 * megabyte);
    EXPECT_EQ(ProcessIds(ReadAll(log)).back(), 50U);
}

TEST(CircularLog, WithoutALimitGrows) {
    EtlLogHeader header = TinyRing();
    header.maximumFileSize = 0;
    EXPECT_EQ(ProcessIds(ReadAll(LogOfEvents(50, header))).size(), 50U);
}

TEST(CircularLog, ASequentialLogGrowsPastItsLimit) {
    EtlLogHeader header = TinyRing();
    header.logFileMode = 1;
    EXPECT_EQ(ProcessIds(ReadAll(LogOfEvents(50, header))).size(), 50U);
}

} // namespace
} // namespace keyreap
