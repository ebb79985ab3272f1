#include "etl/etlring.h"
#include "tests/unit/etl/logbuilder.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr std::int64_t damaged = -1;

// The oldest of the buffers with these numbers, which follow one kept buffer.
std::uint64_t OldestOf(const std::vector<std::int64_t>& numbers) {
    Layout log;
    log.Raw(BufferOf({}));
    for (const std::int64_t number : numbers) {
        const std::uint32_t size = number == damaged ? 512 : 1024;
        log.Raw(BufferOf({}, {.bufferSize = size, .sequenceNumber = number}));
    }
    MemorySource source(log.bytes);
    return OldestBuffer(source, 1024, 1, 1 + numbers.size());
}

TEST(OldestBuffer, IsTheFirstWhereNothingWasOverwritten) {
    EXPECT_EQ(OldestOf({}), 1U);
    EXPECT_EQ(OldestOf({1}), 1U);
    EXPECT_EQ(OldestOf({1, 2, 3, 4, 5}), 1U);
}

TEST(OldestBuffer, IsTheFirstAgainAfterACompleteRound) {
    EXPECT_EQ(OldestOf({11, 12, 13, 14, 15}), 1U);
}

TEST(OldestBuffer, IsWhereTheNumbersDecrease) {
    for (std::int64_t newest = 1; newest <= 40; ++newest) {
        std::vector<std::int64_t> ring(7);
        for (std::int64_t number = 1; number <= newest; ++number) {
            ring[static_cast<std::size_t>((number - 1) % 7)] = number;
        }
        const bool round = newest % 7 == 0 || newest < 7;
        const std::uint64_t expected = round ? 1 : static_cast<std::uint64_t>(1 + newest % 7);
        if (newest < 7) {
            ring.resize(static_cast<std::size_t>(newest));
        }
        EXPECT_EQ(OldestOf(ring), expected) << newest;
    }
}

TEST(OldestBuffer, NeighboursMayBeOutOfOrderByALittle) {
    EXPECT_EQ(OldestOf({1, 3, 2, 4, 6, 5, 7}), 1U);
    EXPECT_EQ(OldestOf({21, 23, 22, 24, 16, 15, 18, 17, 20, 19}), 5U);
    EXPECT_EQ(OldestOf({21, 13, 12, 15, 14, 17, 16, 18, 19, 20}), 2U);
}

TEST(OldestBuffer, ADamagedOneCountsAsItsSuccessor) {
    EXPECT_EQ(OldestOf({damaged, 22, damaged, 14, 15, 16}), 3U);
    EXPECT_EQ(OldestOf({21, 22, 23, 14, 15, damaged}), 4U);
    EXPECT_EQ(OldestOf({21, damaged, damaged, damaged, 15}), 2U);
}

TEST(OldestBuffer, IsTheFirstIfAllAreDamaged) {
    EXPECT_EQ(OldestOf({damaged, damaged, damaged}), 1U);
}

TEST(OldestBuffer, ReadsFewHeadersOnly) {
    Layout log;
    for (std::int64_t i = 0; i < 1000; ++i) {
        log.Raw(BufferOf({}, {.sequenceNumber = i < 300 ? 5000 + i : i}));
    }
    MemorySource source(log.bytes);
    EXPECT_EQ(OldestBuffer(source, 1024, 0, 1000), 300U);
    EXPECT_LE(source.calls, 12U);
}

} // namespace
} // namespace keyreap
