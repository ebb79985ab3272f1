#include "etl/payload.h"
#include "tests/support/payloadbuilder.h"

#include <gtest/gtest.h>

#include <memory>

namespace keyreap {
namespace {

// A copy that ends where its memory ends, so that a sanitizer sees the first byte read too far.
class Exactly {
public:
    explicit Exactly(const PayloadBuilder& built) : size(built.bytes.size()), copy(new std::byte[size]) {
        std::copy(built.bytes.begin(), built.bytes.end(), copy.get());
    }
    Payload View() const { return Payload({copy.get(), size}); }

private:
    std::size_t size;
    std::unique_ptr<std::byte[]> copy;
};

TEST(Payload, NumbersAreLittleEndian) {
    const Exactly bytes(PayloadBuilder().U8(0x78).U8(0x56).U8(0x34).U8(0x12));
    EXPECT_EQ(bytes.View().Number<std::uint32_t>(0), 0x12345678U);
    EXPECT_EQ(bytes.View().Number<std::uint16_t>(2), 0x1234U);
}

TEST(Payload, NumberThatExceedsTheBytesIsZero) {
    const Exactly bytes(PayloadBuilder().U32(0xFFFFFFFF));
    EXPECT_EQ(bytes.View().Number<std::uint32_t>(1), 0U);
    EXPECT_EQ(bytes.View().Number<std::uint64_t>(0), 0U);
    EXPECT_EQ(bytes.View().Number<std::uint32_t>(0), 0xFFFFFFFFU);
}

TEST(Payload, NumberOfAnySizeIsZeroIfItExceedsTheBytes) {
    const Exactly bytes(PayloadBuilder().U32(0xFFFFFFFF));
    EXPECT_EQ(bytes.View().NumberOf(1, 4), 0U);
    EXPECT_EQ(bytes.View().NumberOf(0, 5), 0U);
    EXPECT_EQ(bytes.View().NumberOf(1, 3), 0xFFFFFFU);
}

TEST(Payload, OffsetNearTheLargestNumberIsOutside) {
    const Exactly bytes(PayloadBuilder().U64(1));
    EXPECT_FALSE(bytes.View().Holds(SIZE_MAX, 4));
    EXPECT_FALSE(bytes.View().Holds(4, SIZE_MAX));
    EXPECT_FALSE(bytes.View().Holds(SIZE_MAX - 1, 2));
    EXPECT_TRUE(bytes.View().Holds(8, 0));
}

TEST(Payload, WideTextEndsAtItsNul) {
    const Exactly bytes(PayloadBuilder().WideZ(L"Key").Wide(L"after"));
    const Payload::WideRun run = bytes.View().WideText(0);
    EXPECT_EQ(run.text, L"Key");
    EXPECT_TRUE(run.terminated);
}

TEST(Payload, WideTextWithoutNulIsNotTerminated) {
    const Exactly bytes(PayloadBuilder().Wide(L"Key").U8(0));
    const Payload::WideRun run = bytes.View().WideText(0);
    EXPECT_EQ(run.text, L"Key");
    EXPECT_FALSE(run.terminated);
}

TEST(Payload, WideTextAtTheEndOrBeyondItIsNotTerminated) {
    const Exactly bytes(PayloadBuilder().WideZ(L"Key"));
    EXPECT_FALSE(bytes.View().WideText(8).terminated);
    EXPECT_FALSE(bytes.View().WideText(9).terminated);
    EXPECT_FALSE(bytes.View().WideText(SIZE_MAX).terminated);
}

TEST(Payload, WideTextStopsAtTheLimit) {
    const Exactly bytes(PayloadBuilder().WideZ(L"Key"));
    const Payload::WideRun run = bytes.View().WideText(0, 3);
    EXPECT_EQ(run.text, L"Key");
    EXPECT_FALSE(run.terminated);
}

std::wstring TakenFrom(const Payload& payload, std::size_t offset) {
    std::wstring text = L"before";
    Payload::TakeUnits(payload.TerminatedUnits(offset), text);
    return text;
}

TEST(Payload, TerminatedUnitsEndAtTheirNul) {
    for (std::size_t length = 0; length < 20; ++length) {
        const std::wstring name(length, L'x');
        const Exactly bytes(PayloadBuilder().U8(1).WideZ(name).Wide(L"after"));
        EXPECT_EQ(TakenFrom(bytes.View(), 1), name);
        EXPECT_EQ(bytes.View().TerminatedUnits(1).size(), 2 * length);
    }
}

TEST(Payload, UnitsWithoutNulAreNone) {
    for (std::size_t length = 0; length < 20; ++length) {
        const Exactly bytes(PayloadBuilder().Wide(std::wstring(length, L'x')).U8(0));
        EXPECT_EQ(TakenFrom(bytes.View(), 0), L"");
        EXPECT_EQ(TakenFrom(bytes.View(), 2 * length), L"");
        EXPECT_EQ(TakenFrom(bytes.View(), SIZE_MAX), L"");
    }
}

TEST(Payload, AUnitWithAZeroByteIsNoNul) {
    const std::wstring name = {0x0100, 0x0001, 0xFF00, 0x00FF, 0x8000, 0x0080, 0x0100, 0x8000};
    const Exactly bytes(PayloadBuilder().WideZ(name));
    EXPECT_EQ(TakenFrom(bytes.View(), 0), name);
}

TEST(Payload, NarrowTextEndsAtItsNulOrWithTheBytes) {
    const Exactly terminated(PayloadBuilder().Narrow("Key").U8(0));
    EXPECT_EQ(terminated.View().NarrowText(0).text, "Key");
    EXPECT_TRUE(terminated.View().NarrowText(0).terminated);
    const Exactly open(PayloadBuilder().Narrow("Key"));
    EXPECT_EQ(open.View().NarrowText(0).text, "Key");
    EXPECT_FALSE(open.View().NarrowText(0).terminated);
}

TEST(Payload, BytesKeepTheirNuls) {
    const Exactly bytes(PayloadBuilder().Narrow("a").U8(0).Narrow("bc"));
    EXPECT_EQ(bytes.View().Bytes(0, 3), std::string("a\0b", 3));
}

} // namespace
} // namespace keyreap
