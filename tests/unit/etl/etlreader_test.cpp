#include "etl/etlclasses.h"
#include "etl/etlreader.h"
#include "tests/support/allocationcount.h"
#include "tests/unit/etl/logbuilder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::uint32_t> IdsIn(const Bytes& log) {
    return ProcessIds(ReadAll(log));
}

bool Opens(const Bytes& log) {
    MemorySource source(log);
    return EtlReader(source).Open();
}

TEST(EtlReader, TheLogHeaderEventComesFirst) {
    const Bytes log = LogOf({BufferOf({NumberedRecord(1)})});
    const RecordingListener heard = ReadAll(log);
    ASSERT_EQ(heard.events.size(), 2U);
    EXPECT_EQ(heard.events[0].guid, etlclass::eventTrace);
    EXPECT_EQ(heard.events[0].type, 0U);
    EXPECT_EQ(heard.events[0].bytes.size(), LogHeaderRecord().size() - 32);
    EXPECT_EQ(heard.events[1].guid, etlclass::registry);
}

TEST(EtlReader, HasTheFieldsOfTheLogHeader) {
    const Bytes log = LogOf({}, {.pointerSize = 4});
    MemorySource source(log);
    EtlReader reader(source);
    ASSERT_TRUE(reader.Open());
    EXPECT_EQ(reader.Header().pointerSize, 4U);
    EXPECT_EQ(reader.Header().loggerName, L"The logger");
}

TEST(EtlReader, EventsComeInFileOrderWhateverTheirSequenceNumbers) {
    const Bytes log = LogOf({BufferOf({NumberedRecord(1), NumberedRecord(2)}, {.sequenceNumber = 2}),
                             BufferOf({NumberedRecord(3)}, {.sequenceNumber = 1})});
    EXPECT_THAT(IdsIn(log), ElementsAre(1, 2, 3));
}

TEST(EtlReader, EventsMayFollowTheLogHeaderInItsBuffer) {
    Bytes log = BufferOf({LogHeaderRecord(), NumberedRecord(1)});
    EXPECT_THAT(IdsIn(log), ElementsAre(1));
}

TEST(EtlReader, AnOldBufferOfACircularLogComesBeforeThoseThatOverwroteIt) {
    const Bytes log = LogOf({BufferOf({NumberedRecord(4)}, {.sequenceNumber = 4}),
                             BufferOf({NumberedRecord(5)}, {.sequenceNumber = 5}),
                             BufferOf({NumberedRecord(3)}, {.sequenceNumber = 3})},
                            {.logFileMode = 2});
    EXPECT_THAT(IdsIn(log), ElementsAre(3, 4, 5));
}

TEST(EtlReader, BuffersAtTheStartOfACircularLogKeepTheirPlace) {
    const Bytes log = LogOf({BufferOf({NumberedRecord(1)}, {.sequenceNumber = 1}),
                             BufferOf({NumberedRecord(5)}, {.sequenceNumber = 5}),
                             BufferOf({NumberedRecord(3)}, {.sequenceNumber = 3}),
                             BufferOf({NumberedRecord(4)}, {.sequenceNumber = 4})},
                            {.logFileMode = 2, .startBuffers = 2});
    EXPECT_THAT(IdsIn(log), ElementsAre(1, 3, 4, 5));
}

TEST(EtlReader, MoreStartBuffersThanBuffersMeansAll) {
    const Bytes log = LogOf({BufferOf({NumberedRecord(2)}, {.sequenceNumber = 2}),
                             BufferOf({NumberedRecord(1)}, {.sequenceNumber = 1})},
                            {.logFileMode = 2, .startBuffers = 1000});
    EXPECT_THAT(IdsIn(log), ElementsAre(2, 1));
}

TEST(EtlReader, NoStartBuffersMeansTheOneWithTheLogHeader) {
    const Bytes log = LogOf({BufferOf({NumberedRecord(2)}, {.sequenceNumber = 2}),
                             BufferOf({NumberedRecord(1)}, {.sequenceNumber = 1})},
                            {.logFileMode = 2, .startBuffers = 0});
    EXPECT_THAT(IdsIn(log), ElementsAre(1, 2));
}

TEST(EtlReader, WithASavedOffsetOf0TheRecordsMarkTheirEnd) {
    for (const std::byte fill : {std::byte{0}, std::byte{0xFF}}) {
        const Bytes log = LogOf({BufferOf({NumberedRecord(1)}, {.savedOffset = 0, .fill = fill})});
        EXPECT_THAT(IdsIn(log), ElementsAre(1));
    }
}

TEST(EtlReader, RecordsEndAtTheSavedOffset) {
    const std::uint32_t one = 72 + 72; // a header and one numbered record, padded
    const Bytes log = LogOf({BufferOf({NumberedRecord(1), NumberedRecord(2)}, {.savedOffset = one})});
    EXPECT_THAT(IdsIn(log), ElementsAre(1));
}

TEST(EtlReader, RecordsOfOtherTypesAreNoEvents) {
    const Bytes message = Layout().U16(20).U8(0).U8(0x90).Zeros(16).bytes;
    const Bytes log = LogOf({BufferOf({NumberedRecord(1), message, NumberedRecord(2)})});
    EXPECT_THAT(IdsIn(log), ElementsAre(1, 2));
}

TEST(EtlReader, AShortLastBufferIsSkipped) {
    Bytes log = LogOf({BufferOf({NumberedRecord(1)}), BufferOf({NumberedRecord(2)})});
    log.pop_back();
    EXPECT_THAT(IdsIn(log), ElementsAre(1));
}

TEST(EtlReader, ACompressedBufferIsSkipped) {
    const Bytes log = LogOf(
        {BufferOf({NumberedRecord(1)}, {.flags = 0x40}), BufferOf({NumberedRecord(2)}, {.flags = 0x21})});
    EXPECT_THAT(IdsIn(log), ElementsAre(2));
}

TEST(EtlReader, TheListenerCanStopAfterEachBuffer) {
    const Bytes log = LogOf({BufferOf({NumberedRecord(1)}), BufferOf({NumberedRecord(2)})});
    MemorySource source(log);
    EtlReader reader(source);
    ASSERT_TRUE(reader.Open());
    RecordingListener listener;
    listener.stopAfter = 2;
    EXPECT_TRUE(reader.Process(listener));
    EXPECT_THAT(ProcessIds(listener), ElementsAre(1));
    EXPECT_EQ(reader.Statistics().buffers, 2U);
}

TEST(EtlReader, ALogCanBeReadTwice) {
    const Bytes log = LogOf({BufferOf({NumberedRecord(1)})});
    MemorySource source(log);
    EtlReader reader(source);
    ASSERT_TRUE(reader.Open());
    for (int i = 0; i < 2; ++i) {
        RecordingListener listener;
        EXPECT_TRUE(reader.Process(listener));
        EXPECT_THAT(ProcessIds(listener), ElementsAre(1));
        EXPECT_EQ(reader.Statistics().events, 2U);
    }
}

TEST(EtlReader, AFailureOfTheSourceIsReported) {
    const Bytes log = LogOf({BufferOf({NumberedRecord(1)})});
    for (std::size_t calls = 0; calls < 2; ++calls) {
        MemorySource source(log);
        source.failFrom = calls;
        EXPECT_FALSE(EtlReader(source).Open()) << calls;
    }
    MemorySource source(log);
    EtlReader reader(source);
    ASSERT_TRUE(reader.Open());
    source.failFrom = source.calls;
    RecordingListener listener;
    EXPECT_FALSE(reader.Process(listener));
    EXPECT_THAT(listener.events, IsEmpty());
}

TEST(EtlReader, AFileThatDoesNotBeginWithALogHeaderIsNoLog) {
    EXPECT_TRUE(Opens(LogOf({})));
    EXPECT_FALSE(Opens({}));
    EXPECT_FALSE(Opens(Layout().U32(1024).bytes));
    EXPECT_FALSE(Opens(BufferOf({})));
    EXPECT_FALSE(Opens(BufferOf({NumberedRecord(1), LogHeaderRecord()})));
    EXPECT_FALSE(Opens(BufferOf({LogHeaderRecord()}, {.bufferSize = 2048})));
    EXPECT_FALSE(Opens(BufferOf({SystemRecord(2, 0x0000, 2, Layout().Zeros(200).bytes)})));
}

TEST(EtlReader, TheBufferSizeIsInKilobytesAndAtMost16384) {
    for (const std::uint32_t size : {0U, 512U, 1023U, 1025U, 16385U * 1024, 0x80000000U}) {
        Bytes log = BufferOf({LogHeaderRecord()}, {.bufferSize = size});
        EXPECT_FALSE(Opens(log)) << size;
    }
    Bytes log = BufferOf({LogHeaderRecord()}, {.bufferSize = 16384 * 1024});
    EXPECT_FALSE(Opens(log));
    log.resize(16384 * 1024);
    EXPECT_TRUE(Opens(log));
}

// More buffers than are read at a time.
TEST(EtlReader, ReadsManyBuffersAtOnce) {
    constexpr std::uint32_t count = 2500;
    Layout log;
    log.Raw(LogOf({}));
    for (std::uint32_t i = 0; i < count; ++i) {
        log.Raw(BufferOf({NumberedRecord(i)}));
    }
    MemorySource source(log.bytes);
    EtlReader reader(source);
    ASSERT_TRUE(reader.Open());
    const std::size_t before = source.calls;
    RecordingListener listener;
    EXPECT_TRUE(reader.Process(listener));
    EXPECT_LE(source.calls - before, 12U);
    ASSERT_EQ(listener.events.size(), count + 1);
    for (std::uint32_t i = 0; i < count; ++i) {
        ASSERT_EQ(listener.events[i + 1].processId, i);
    }
}

TEST(EtlReader, AllocatesNothingForEvents) {
    class Counting : public EtlListener {
    public:
        void OnEvent(const EtlEvent&) override { ++events; }
        std::size_t events = 0;
    };
    const Bytes full = BufferOf({NumberedRecord(1), NumberedRecord(2), NumberedRecord(3)});
    const Bytes log = LogOf(std::vector<Bytes>(50, full), {.logFileMode = 2});
    MemorySource source(log);
    EtlReader reader(source);
    ASSERT_TRUE(reader.Open());
    Counting listener;
    const std::size_t before = AllocationCount();
    reader.Process(listener);
    EXPECT_EQ(AllocationCount(), before);
    EXPECT_EQ(listener.events, 151U);
}

} // namespace
} // namespace keyreap
