#include "etl/etlclasses.h"
#include "etl/etlreader.h"
#include "tests/unit/etl/logbuilder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A log with a record of each kind in three buffers. The tests leave only the last one intact.
Bytes LogOfAllKinds(std::uint32_t logFileMode) {
    const Bytes payload = Layout().U64(1).U64(2).bytes;
    Layout content;
    content.U16(0).U16(1).U16(0).U16(8).U64(3).Raw(payload);
    return LogOf({BufferOf({NumberedRecord(1), CompactRecord(4, 0x0503, 3, payload),
                            PerfInfoRecord(0x11, 0x0F2E, 1, payload), ClassicRecord(0x14, 1, 2, 3, payload)},
                           {.sequenceNumber = 3}),
                  BufferOf({InstanceRecord(0x15, 1, 2, 3, payload),
                            ManifestRecord(0x13, {.id = 5, .flags = 1}, content.bytes),
                            Layout().U16(20).U8(0).U8(0x90).Zeros(16).bytes, NumberedRecord(2)},
                           {.sequenceNumber = 1}),
                  BufferOf({NumberedRecord(3)}, {.sequenceNumber = 2})},
                 {.logFileMode = logFileMode});
}

struct Outcome {
    bool opened = false;
    RecordingListener heard;
    EtlStatistics statistics;
};

// Reads any bytes. Every payload is copied, so that a sanitizer sees an access outside of the log.
Outcome ReadDamaged(std::span<const std::byte> log) {
    const Bytes exactly(log.begin(), log.end()); // no memory after the last byte
    MemorySource source(exactly);
    EtlReader reader(source);
    Outcome outcome;
    outcome.opened = reader.Open();
    if (outcome.opened) {
        EXPECT_TRUE(reader.Process(outcome.heard));
        outcome.statistics = reader.Statistics();
        EXPECT_FALSE(outcome.heard.events.empty());
        EXPECT_EQ(outcome.heard.events.front().guid, etlclass::eventTrace);
    }
    return outcome;
}

TEST(DamagedLog, TruncatedAnywhereGivesTheEventsOfItsCompleteBuffers) {
    const Bytes log = LogOfAllKinds(1);
    const std::size_t eventsOfBuffers[] = {0, 1, 5, 8, 9};
    for (std::size_t length = 0; length <= log.size(); ++length) {
        const Outcome outcome = ReadDamaged(std::span(log).first(length));
        EXPECT_EQ(outcome.opened, length >= 1024);
        ASSERT_EQ(outcome.heard.events.size(), eventsOfBuffers[length / 1024]) << length;
    }
}

TEST(DamagedLog, AFlippedByteDamagesOnlyItsBuffer) {
    for (const std::uint32_t mode : {1U, 2U}) {
        const Bytes intact = LogOfAllKinds(mode);
        for (std::size_t at = 0; at < intact.size(); ++at) {
            for (const unsigned mask : {0x01U, 0x80U, 0xFFU}) {
                Bytes log = intact;
                log[at] ^= static_cast<std::byte>(mask);
                const Outcome outcome = ReadDamaged(log);
                EXPECT_TRUE(outcome.opened || at < 1024) << at;
                if (outcome.opened && at >= 1024) {
                    const std::size_t lost = at / 1024 == 1 ? 4 : at / 1024 == 2 ? 3 : 1;
                    ASSERT_GE(outcome.heard.events.size(), 9 - lost) << at;
                    ASSERT_EQ(outcome.heard.buffers, 4U) << at;
                }
            }
        }
    }
}

TEST(DamagedLog, AnyTwoBytesOfABufferHeaderMayBeWrong) {
    const Bytes intact = LogOfAllKinds(2);
    for (std::size_t buffer = 1024; buffer < intact.size(); buffer += 1024) {
        for (std::size_t first = 0; first < 72; ++first) {
            for (std::size_t second = 0; second < 72; ++second) {
                Bytes log = intact;
                log[buffer + first] ^= std::byte{0xFF};
                log[buffer + second] = std::byte{0x7F};
                EXPECT_TRUE(ReadDamaged(log).opened);
            }
        }
    }
}

TEST(DamagedLog, ABufferWithAWrongSizeIsSkipped) {
    for (const std::uint32_t size : {0U, 72U, 1023U, 2048U, 0xFFFFFFFFU}) {
        const Bytes log =
            LogOf({BufferOf({NumberedRecord(1)}, {.bufferSize = size}), BufferOf({NumberedRecord(2)})});
        const Outcome outcome = ReadDamaged(log);
        EXPECT_THAT(ProcessIds(outcome.heard), ElementsAre(2)) << size;
        EXPECT_EQ(outcome.statistics.damagedBuffers, 1U);
    }
}

TEST(DamagedLog, ABufferWithAnInvalidEndIsSkipped) {
    for (const std::uint32_t end : {1U, 71U, 1025U, 0x80000000U, 0xFFFFFFF0U}) {
        const Bytes log =
            LogOf({BufferOf({NumberedRecord(1)}, {.savedOffset = end}), BufferOf({NumberedRecord(2)})});
        const Outcome outcome = ReadDamaged(log);
        EXPECT_THAT(ProcessIds(outcome.heard), ElementsAre(2)) << end;
        EXPECT_EQ(outcome.statistics.damagedBuffers, 1U);
    }
}

TEST(DamagedLog, AnEmptyBufferIsNotDamaged) {
    const Outcome outcome = ReadDamaged(LogOf({BufferOf({}), BufferOf({NumberedRecord(2)})}));
    EXPECT_THAT(ProcessIds(outcome.heard), ElementsAre(2));
    EXPECT_EQ(outcome.statistics.damagedBuffers, 0U);
}

TEST(DamagedLog, ARecordOfSizeZeroEndsItsBuffer) {
    Bytes none = NumberedRecord(2);
    none[4] = none[5] = std::byte{0};
    const Bytes log =
        LogOf({BufferOf({NumberedRecord(1), none, NumberedRecord(3)}), BufferOf({NumberedRecord(4)})});
    const Outcome outcome = ReadDamaged(log);
    EXPECT_THAT(ProcessIds(outcome.heard), ElementsAre(1, 4));
    EXPECT_EQ(outcome.statistics.damagedBuffers, 1U);
}

TEST(DamagedLog, ARecordThatExceedsItsBufferEndsIt) {
    Bytes lying = NumberedRecord(2);
    lying[5] = std::byte{0x04}; // 1024 bytes more
    const Bytes log = LogOf({BufferOf({NumberedRecord(1), lying}), BufferOf({NumberedRecord(4)})});
    const Outcome outcome = ReadDamaged(log);
    EXPECT_THAT(ProcessIds(outcome.heard), ElementsAre(1, 4));
    EXPECT_EQ(outcome.statistics.damagedBuffers, 1U);
}

TEST(DamagedLog, ASavedOffsetInsideARecordLosesThatRecord) {
    const std::uint32_t inside = 72 + 72 + 40;
    const Bytes log = LogOf({BufferOf({NumberedRecord(1), NumberedRecord(2)}, {.savedOffset = inside})});
    const Outcome outcome = ReadDamaged(log);
    EXPECT_THAT(ProcessIds(outcome.heard), ElementsAre(1));
    EXPECT_EQ(outcome.statistics.damagedBuffers, 1U);
}

TEST(DamagedLog, ALastRecordThatFillsItsBufferIsRead) {
    const std::size_t room = 1024 - 72 - 32;
    const Bytes full = SystemRecord(2, 0x090A, 2, Layout().Zeros(room).bytes, 7);
    EXPECT_THAT(ProcessIds(ReadDamaged(LogOf({BufferOf({full})})).heard), ElementsAre(7));
    // Unpadded, the last record ends ahead of the boundary at which the next one would begin.
    const Bytes unpadded = SystemRecord(2, 0x090A, 2, Layout().Zeros(room - 3).bytes, 8);
    const Bytes log = LogOf({BufferOf({unpadded}, {.savedOffset = 1024 - 3})});
    EXPECT_THAT(ProcessIds(ReadDamaged(log).heard), ElementsAre(8));
}

TEST(DamagedLog, ALogOfZerosAfterItsHeaderHasNoEvents) {
    Bytes log = LogOf({});
    log.resize(10 * 1024);
    const Outcome outcome = ReadDamaged(log);
    EXPECT_THAT(ProcessIds(outcome.heard), IsEmpty());
    EXPECT_EQ(outcome.statistics.damagedBuffers, 9U);
}

} // namespace
} // namespace keyreap
