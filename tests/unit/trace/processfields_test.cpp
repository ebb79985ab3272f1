#include "tests/support/payloadbuilder.h"
#include "trace/processfields.h"

#include <gtest/gtest.h>

#include <string_view>

namespace keyreap {
namespace {

constexpr std::uint32_t id = 4711;
constexpr std::uint32_t parent = 4712;
constexpr std::uint16_t versions12[] = {1, 2};
constexpr std::uint16_t versions45[] = {4, 5};
constexpr std::uint8_t counts[] = {0, 1, 5, 15}; // of subauthorities

// A process event with a hand-written payload.
struct LaidOut {
    LaidOut(std::uint16_t version, const PayloadBuilder& payload, std::uint8_t type = 1)
        : bytes(payload.bytes) {
        event.guid = ProcessGuid;
        event.type = type;
        event.version = version;
        event.payload = bytes;
    }

    std::vector<std::byte> bytes;
    TraceEvent event;
};

void ExpectFields(const LaidOut& it, std::uint32_t pointerSize, std::wstring_view image = L"server.exe") {
    const std::optional<ProcessFields> fields = ReadProcessFields(it.event, pointerSize);
    ASSERT_TRUE(fields);
    EXPECT_EQ(fields->processId, id);
    EXPECT_EQ(fields->parentId, parent);
    EXPECT_EQ(fields->imageName, image);
}

// A TOKEN_USER, without meaning in a log, and the SID S-1-5-18 with `count` subauthorities.
PayloadBuilder& AddSid(PayloadBuilder& payload, std::uint32_t pointerSize, std::uint8_t count) {
    payload.U32(0xFFFFA000).Zeros(2 * pointerSize - 4);
    payload.U8(1).U8(count).Zeros(5).U8(5);
    return payload.Zeros(4 * static_cast<std::size_t>(count));
}

PayloadBuilder Image(PayloadBuilder payload) {
    return payload.Narrow("server.exe").U8(0);
}

TEST(ReadProcessFields, Version0HasIdsOfTheSizeOfAPointer) {
    ExpectFields({0, Image(PayloadBuilder().U32(id).U32(parent).U32(0))}, 4);
    ExpectFields({0, Image(PayloadBuilder().U64(id).U64(parent).U32(0))}, 8);
}

TEST(ReadProcessFields, Versions1And2HaveAKeyInFront) {
    for (const std::uint16_t version : versions12) {
        ExpectFields({version, Image(PayloadBuilder().U32(9).U32(id).U32(parent).U32(1).U32(0).U32(0))}, 4);
        ExpectFields({version, Image(PayloadBuilder().U64(9).U32(id).U32(parent).U32(1).U32(0).U32(0))}, 8);
    }
}

TEST(ReadProcessFields, Version3HasAPageTable) {
    ExpectFields({3, Image(PayloadBuilder().U32(9).U32(id).U32(parent).U32(1).U32(0).U32(7).U32(0))}, 4);
    ExpectFields({3, Image(PayloadBuilder().U64(9).U32(id).U32(parent).U32(1).U32(0).U64(7).U32(0))}, 8);
}

TEST(ReadProcessFields, Version4AndLaterOnesHaveFlags) {
    for (const std::uint16_t version : versions45) {
        const PayloadBuilder start = PayloadBuilder().U64(9).U32(id).U32(parent).U32(1).U32(0).U64(7).U32(3);
        ExpectFields({version, Image(PayloadBuilder(start).U32(0))}, 8);
    }
}

TEST(ReadProcessFields, TheImageFollowsASidOfAnyLength) {
    for (const std::uint8_t count : counts) {
        PayloadBuilder wide = PayloadBuilder().U64(9).U32(id).U32(parent).U32(1).U32(0);
        ExpectFields({2, Image(AddSid(wide, 8, count))}, 8);
        PayloadBuilder narrow = PayloadBuilder().U32(9).U32(id).U32(parent).U32(1).U32(0);
        ExpectFields({2, Image(AddSid(narrow, 4, count))}, 4);
    }
}

TEST(ReadProcessFields, OfAnImagesPathTheFileNameIsTaken) {
    PayloadBuilder payload = PayloadBuilder().U64(id).U64(parent).U32(0);
    payload.Narrow(R"(\Device\HarddiskVolume1\a b\server.exe)").U8(0);
    ExpectFields({0, payload}, 8);
}

TEST(ReadProcessFields, ANameWithoutItsEndIsNone) {
    ExpectFields({0, PayloadBuilder().U64(id).U64(parent).U32(0).Narrow("server")}, 8, L"");
    ExpectFields({0, PayloadBuilder().U64(id).U64(parent)}, 8, L"");
}

TEST(ReadProcessFields, ASidThatLeavesThePayloadHidesTheName) {
    PayloadBuilder payload = PayloadBuilder().U64(id).U64(parent).U64(1).U64(0).U8(1).U8(255);
    ExpectFields({0, payload.Narrow("server.exe").U8(0)}, 8, L"");
}

TEST(ReadProcessFields, WithoutIdsThereAreNoFields) {
    EXPECT_FALSE(ReadProcessFields(LaidOut(2, PayloadBuilder().U64(9).U32(id).U16(0)).event, 8));
    EXPECT_FALSE(ReadProcessFields(LaidOut(0, PayloadBuilder()).event, 8));
}

TEST(ProcessEvents, AStartAndARundownAreDifferent) {
    const LaidOut start(2, PayloadBuilder(), 1);
    const LaidOut end(2, PayloadBuilder(), 2);
    const LaidOut rundown(2, PayloadBuilder(), 3);
    EXPECT_TRUE(IsProcessStart(start.event) && !IsProcessRundown(start.event));
    EXPECT_TRUE(!IsProcessStart(end.event) && !IsProcessRundown(end.event));
    EXPECT_TRUE(!IsProcessStart(rundown.event) && IsProcessRundown(rundown.event));
}

TEST(ProcessEvents, AreOfTheClassOfProcesses) {
    LaidOut thread(2, PayloadBuilder(), 1);
    thread.event.guid = ThreadGuid;
    EXPECT_FALSE(IsProcessStart(thread.event));
    EXPECT_EQ(ProcessGuid, (Guid{0x3D6FA8D0, 0xFE05, 0x11D0, {0x9D, 0xDA, 0, 0xC0, 0x4F, 0xD7, 0xBA, 0x7C}}));
}

} // namespace
} // namespace keyreap
