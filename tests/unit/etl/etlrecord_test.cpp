#include "etl/etlclasses.h"
#include "etl/etlrecord.h"
#include "tests/unit/etl/logbuilder.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

const Bytes samplePayload = Layout().U32(0xAABBCCDD).U16(0xEEFF).bytes;

// Reads the record at the beginning of the bytes, which must be an event.
RecordingListener::Event ReadOne(const Bytes& bytes) {
    EtlEvent event;
    const EtlRecord record = ReadEtlRecord(bytes, event);
    EXPECT_EQ(record.kind, EtlRecordKind::event);
    EXPECT_EQ(record.size, bytes.size());
    return RecordingListener::Event(event);
}

EtlRecordKind KindOf(const Bytes& bytes) {
    EtlEvent event;
    return ReadEtlRecord(bytes, event).kind;
}

void ExpectOrigin(const EtlEvent& event) {
    EXPECT_EQ(event.threadId, recordThread);
    EXPECT_EQ(event.processId, recordProcess);
    EXPECT_EQ(event.timeStamp, recordTime);
}

TEST(ReadEtlRecord, SystemHeadersOfBothWidths) {
    for (const bool wide : {false, true}) {
        const auto event = ReadOne(SystemRecord(wide ? 2 : 1, 0x0916, 2, samplePayload));
        EXPECT_EQ(event.guid, etlclass::registry);
        EXPECT_EQ(event.type, 0x16U);
        EXPECT_EQ(event.version, 2U);
        EXPECT_EQ(event.pointerSize, wide ? 8U : 4U);
        EXPECT_EQ(event.bytes, samplePayload);
        ExpectOrigin(event);
    }
}

TEST(ReadEtlRecord, CompactHeadersOfBothWidths) {
    for (const bool wide : {false, true}) {
        const auto event = ReadOne(CompactRecord(wide ? 4 : 3, 0x0503, 3, samplePayload));
        EXPECT_EQ(event.guid, etlclass::thread);
        EXPECT_EQ(event.type, 3U);
        EXPECT_EQ(event.version, 3U);
        EXPECT_EQ(event.pointerSize, wide ? 8U : 4U);
        EXPECT_EQ(event.bytes, samplePayload);
        ExpectOrigin(event);
    }
}

TEST(ReadEtlRecord, PerfInfoHeadersOfBothWidthsHaveNoProcessAndNoThread) {
    for (const bool wide : {false, true}) {
        const auto event = ReadOne(PerfInfoRecord(wide ? 0x11 : 0x10, 0x0F2E, 1, samplePayload));
        EXPECT_EQ(event.guid, etlclass::perfInfo);
        EXPECT_EQ(event.type, 0x2EU);
        EXPECT_EQ(event.version, 1U);
        EXPECT_EQ(event.pointerSize, wide ? 8U : 4U);
        EXPECT_EQ(event.bytes, samplePayload);
        EXPECT_EQ(event.timeStamp, recordTime);
        EXPECT_EQ(event.processId, 0xFFFFFFFFU);
        EXPECT_EQ(event.threadId, 0xFFFFFFFFU);
    }
}

TEST(ReadEtlRecord, FullHeadersOfBothWidthsHaveTheirGuid) {
    for (const bool wide : {false, true}) {
        const auto event = ReadOne(ClassicRecord(wide ? 0x14 : 0x0A, 10, 4, 2, samplePayload));
        EXPECT_EQ(event.guid, GuidOf(0x20));
        EXPECT_EQ(event.type, 10U);
        EXPECT_EQ(event.level, 4U);
        EXPECT_EQ(event.version, 2U);
        EXPECT_EQ(event.pointerSize, wide ? 8U : 4U);
        EXPECT_EQ(event.bytes, samplePayload);
        ExpectOrigin(event);
    }
}

TEST(ReadEtlRecord, InstanceHeadersOfBothWidthsHaveTheirOwnGuidNotTheParents) {
    for (const bool wide : {false, true}) {
        const auto event = ReadOne(InstanceRecord(wide ? 0x15 : 0x0B, 1, 5, 7, samplePayload));
        EXPECT_EQ(event.guid, GuidOf(0x20));
        EXPECT_EQ(event.type, 1U);
        EXPECT_EQ(event.level, 5U);
        EXPECT_EQ(event.version, 7U);
        EXPECT_EQ(event.pointerSize, wide ? 8U : 4U);
        EXPECT_EQ(event.bytes, samplePayload);
        ExpectOrigin(event);
    }
}

TEST(ReadEtlRecord, ManifestHeadersOfBothWidthsGiveIdAndOpcode) {
    for (const bool wide : {false, true}) {
        const ManifestFields fields{.id = 0x1234, .version = 3, .level = 4, .opcode = 0x21};
        const auto event = ReadOne(ManifestRecord(wide ? 0x13 : 0x12, fields, samplePayload));
        EXPECT_EQ(event.guid, GuidOf(0x40));
        EXPECT_EQ(event.id, 0x1234U);
        EXPECT_EQ(event.type, 0x21U);
        EXPECT_EQ(event.level, 4U);
        EXPECT_EQ(event.version, 3U);
        EXPECT_EQ(event.pointerSize, wide ? 8U : 4U);
        EXPECT_EQ(event.bytes, samplePayload);
        ExpectOrigin(event);
    }
}

TEST(ReadEtlRecord, NothingOfAnEarlierRecordStaysInTheEvent) {
    const ManifestFields fields{.id = 0x1234, .version = 3, .level = 4, .opcode = 0x21};
    const Bytes manifest = ManifestRecord(0x13, fields, samplePayload);
    for (const Bytes& record : {SystemRecord(2, 0x0916, 2, {}), CompactRecord(4, 0x0503, 3, {}),
                                PerfInfoRecord(0x11, 0x0F2E, 1, {}), ClassicRecord(0x14, 10, 0, 2, {}),
                                InstanceRecord(0x15, 1, 0, 7, {})}) {
        EtlEvent event;
        ReadEtlRecord(manifest, event);
        EXPECT_EQ(event.id, 0x1234U);
        ReadEtlRecord(record, event);
        EXPECT_EQ(event.id, 0U);
        EXPECT_EQ(event.level, 0U);
        EXPECT_TRUE(event.payload.empty());
    }
}

// An extended item: reserved, type, whether another follows, size, data.
Layout& Item(Layout& layout, bool another, std::uint16_t size) {
    return layout.U16(0).U16(1).U16(another ? 1 : 0).U16(size).Fill(size, std::byte{0x77});
}

TEST(ReadEtlRecord, ThePayloadOfAManifestEventFollowsItsExtendedItems) {
    Layout content;
    Item(content, true, 5).PadTo8();
    Item(content, false, 16).Raw(samplePayload);
    EXPECT_EQ(ReadOne(ManifestRecord(0x13, {.flags = 0x0001}, content.bytes)).bytes, samplePayload);
}

TEST(ReadEtlRecord, ExtendedItemsCountOnlyWithTheirFlag) {
    Layout content;
    Item(content, false, 8);
    EXPECT_EQ(ReadOne(ManifestRecord(0x13, {.flags = 0x0040}, content.bytes)).bytes, content.bytes);
}

TEST(ReadEtlRecord, ALastExtendedItemMayEndWithTheRecordUnpadded) {
    Layout content;
    Item(content, false, 5);
    EXPECT_TRUE(ReadOne(ManifestRecord(0x13, {.flags = 0x0001}, content.bytes)).bytes.empty());
}

TEST(ReadEtlRecord, ARecordWithAnExtendedItemThatExceedsItIsSkipped) {
    Layout tooLong;
    tooLong.U16(0).U16(1).U16(0).U16(9).Zeros(8);
    EXPECT_EQ(KindOf(ManifestRecord(0x13, {.flags = 0x0001}, tooLong.bytes)), EtlRecordKind::skipped);
    Layout chained;
    Item(chained, true, 8);
    EXPECT_EQ(KindOf(ManifestRecord(0x13, {.flags = 0x0001}, chained.bytes)), EtlRecordKind::skipped);
    const Bytes half = Layout().Zeros(7).bytes;
    EXPECT_EQ(KindOf(ManifestRecord(0x13, {.flags = 0x0001}, half)), EtlRecordKind::skipped);
}

TEST(ReadEtlRecord, AnEventMayHaveNoPayload) {
    EXPECT_TRUE(ReadOne(SystemRecord(2, 0x0901, 2, {})).bytes.empty());
    EXPECT_TRUE(ReadOne(PerfInfoRecord(0x11, 0x0F2E, 1, {})).bytes.empty());
    EXPECT_TRUE(ReadOne(ClassicRecord(0x14, 1, 0, 0, {})).bytes.empty());
}

TEST(ReadEtlRecord, RecordsOfOtherTypesAreSkippedByTheirSize) {
    EtlEvent event;
    // A trace message: its size, a zero, the flags of a message; then number and options.
    const Bytes message = Layout().U16(20).U8(0).U8(0x90).U16(11).U16(2).Zeros(12 + 4).bytes;
    const EtlRecord skipped = ReadEtlRecord(message, event);
    EXPECT_EQ(skipped.kind, EtlRecordKind::skipped);
    EXPECT_EQ(skipped.size, 20U);
}

TEST(ReadEtlRecord, TheEndIsZerosOrFillersOrNoRoomForARecord) {
    EXPECT_EQ(KindOf({}), EtlRecordKind::end);
    EXPECT_EQ(KindOf(Layout().Fill(7, std::byte{0xC0}).bytes), EtlRecordKind::end);
    EXPECT_EQ(KindOf(Layout().U32(0).U32(0xC0020002).bytes), EtlRecordKind::end);
    EXPECT_EQ(KindOf(Layout().U32(0xFFFFFFFF).U32(0xC0020002).bytes), EtlRecordKind::end);
}

TEST(ReadEtlRecord, AMarkerWithoutTheHeaderFlagIsDamage) {
    Bytes record = SystemRecord(2, 0x0901, 2, samplePayload);
    record[3] = std::byte{0x40};
    EXPECT_EQ(KindOf(record), EtlRecordKind::damaged);
}

TEST(ReadEtlRecord, ASizeBelowTheHeadersOrBeyondTheBytesIsDamage) {
    struct Case {
        Bytes record;
        std::size_t sizeAt;
        std::size_t headerSize;
    };
    const Case cases[] = {
        {SystemRecord(2, 0x0901, 2, {}), 4, 32},          {CompactRecord(4, 0x0901, 2, {}), 4, 24},
        {PerfInfoRecord(0x11, 0x0901, 2, {}), 4, 16},     {ClassicRecord(0x14, 1, 0, 0, {}), 0, 48},
        {InstanceRecord(0x15, 1, 0, 0, {}), 0, 72},       {ManifestRecord(0x13, {}, {}), 0, 80},
        {Layout().U16(8).U16(0x9000).U32(0).bytes, 0, 8},
    };
    for (const Case& it : cases) {
        ASSERT_EQ(it.record.size(), it.headerSize);
        EXPECT_NE(KindOf(it.record), EtlRecordKind::damaged);
        for (const std::size_t size : {std::size_t{0}, it.headerSize - 1, it.headerSize + 1}) {
            Bytes lying = it.record;
            lying[it.sizeAt] = static_cast<std::byte>(size);
            EXPECT_EQ(KindOf(lying), EtlRecordKind::damaged) << it.headerSize << " stated as " << size;
        }
    }
}

} // namespace
} // namespace keyreap
