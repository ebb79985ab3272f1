#include "etl/etllogheader.h"
#include "tests/unit/etl/logbuilder.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

Bytes PayloadOf(std::uint32_t pointerSize) {
    Bytes record = LogHeaderRecord({.pointerSize = pointerSize});
    record.erase(record.begin(), record.begin() + 32);
    return record;
}

void ExpectFieldsOfTheBuilder(const EtlLogHeader& header) {
    EXPECT_EQ(header.bufferSize, 1024U);
    EXPECT_EQ(header.majorVersion, 6U);
    EXPECT_EQ(header.minorVersion, 1U);
    EXPECT_EQ(header.subVersion, 1U);
    EXPECT_EQ(header.subMinorVersion, 5U);
    EXPECT_EQ(header.providerVersion, 7601U);
    EXPECT_EQ(header.numberOfProcessors, 4U);
    EXPECT_EQ(header.endTime, 0x1D60000000000001);
    EXPECT_EQ(header.timerResolution, 156250U);
    EXPECT_EQ(header.maximumFileSize, 100U);
    EXPECT_EQ(header.logFileMode, 1U);
    EXPECT_EQ(header.buffersWritten, 3U);
    EXPECT_EQ(header.startBuffers, 1U);
    EXPECT_EQ(header.eventsLost, 9U);
    EXPECT_EQ(header.cpuSpeedInMHz, 3000U);
    EXPECT_EQ(header.timeZoneBias, -60);
    EXPECT_EQ(header.bootTime, 0x1D60000000000002);
    EXPECT_EQ(header.perfFreq, 2'500'000);
    EXPECT_EQ(header.startTime, 0x1D60000000000003);
    EXPECT_EQ(header.reservedFlags, 1U);
    EXPECT_EQ(header.buffersLost, 8U);
    EXPECT_EQ(header.loggerName, L"The logger");
    EXPECT_EQ(header.logFileName, L"C:\\the.etl");
}

TEST(ReadLogHeader, TakesEveryFieldAtPointerSize8) {
    const std::optional<EtlLogHeader> header = ReadLogHeader(PayloadOf(8));
    ASSERT_TRUE(header);
    EXPECT_EQ(header->pointerSize, 8U);
    ExpectFieldsOfTheBuilder(*header);
}

TEST(ReadLogHeader, TakesEveryFieldAtPointerSize4) {
    const std::optional<EtlLogHeader> header = ReadLogHeader(PayloadOf(4));
    ASSERT_TRUE(header);
    EXPECT_EQ(header->pointerSize, 4U);
    ExpectFieldsOfTheBuilder(*header);
}

TEST(ReadLogHeader, NeedsTheCompleteFixedPart) {
    for (const std::uint32_t pointerSize : {4U, 8U}) {
        Bytes payload = PayloadOf(pointerSize);
        payload.resize(264 + 2 * pointerSize);
        EXPECT_TRUE(ReadLogHeader(payload));
        payload.pop_back();
        EXPECT_FALSE(ReadLogHeader(payload));
    }
}

TEST(ReadLogHeader, KnowsPointerSizes4And8Only) {
    Bytes payload = PayloadOf(8);
    payload[44] = std::byte{6};
    EXPECT_FALSE(ReadLogHeader(payload));
}

TEST(ReadLogHeader, ANameWithoutTerminatorEndsWithThePayload) {
    Bytes payload = PayloadOf(8);
    payload.resize(payload.size() - 3); // half a unit is dropped
    EXPECT_EQ(ReadLogHeader(payload)->logFileName, L"C:\\the.et");
    payload.resize(280 + 6);
    EXPECT_EQ(ReadLogHeader(payload)->loggerName, L"The");
    EXPECT_EQ(ReadLogHeader(payload)->logFileName, L"");
}

TEST(WriteLogHeader, WritesWhatWasRead) {
    EtlLogHeader header = *ReadLogHeader(PayloadOf(4));
    Bytes room(1000, std::byte{0xEE});
    room.resize(WriteLogHeader(header, room));
    EXPECT_EQ(room, PayloadOf(8));
}

TEST(WriteLogHeader, TruncatesNamesThatDoNotFit) {
    EtlLogHeader header;
    header.loggerName = L"logger";
    header.logFileName = L"C:\\some\\file.etl";
    Bytes room(minimumLogHeaderSize + 2 * 10);
    EXPECT_EQ(WriteLogHeader(header, room), room.size());
    EXPECT_EQ(ReadLogHeader(room)->loggerName, L"logger");
    EXPECT_EQ(ReadLogHeader(room)->logFileName, L"C:\\s");

    room.resize(minimumLogHeaderSize + 2 * 3);
    EXPECT_EQ(WriteLogHeader(header, room), room.size());
    EXPECT_EQ(ReadLogHeader(room)->loggerName, L"log");
    EXPECT_EQ(ReadLogHeader(room)->logFileName, L"");
}

TEST(WriteLogHeader, NeedsTheMinimumAndNoMore) {
    EtlLogHeader header;
    header.loggerName = L"logger";
    Bytes room(minimumLogHeaderSize);
    EXPECT_EQ(WriteLogHeader(header, room), minimumLogHeaderSize);
    EXPECT_EQ(ReadLogHeader(room)->loggerName, L"");
}

} // namespace
} // namespace keyreap
