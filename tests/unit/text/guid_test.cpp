#include "platform/core/text/guid.h"

#include <gtest/gtest.h>

#include <array>

namespace keyreap {
namespace {

constexpr Guid sample{0x01234567, 0x89AB, 0xCDEF, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};

TEST(ParseGuid, TakesTheTextWithAndWithoutBraces) {
    EXPECT_EQ(ParseGuid(L"{01234567-89AB-CDEF-0123-456789ABCDEF}"), sample);
    EXPECT_EQ(ParseGuid(L"01234567-89AB-CDEF-0123-456789ABCDEF"), sample);
}

TEST(ParseGuid, TakesBothCasesOfTheDigits) {
    EXPECT_EQ(ParseGuid(L"{01234567-89ab-cdef-0123-456789abcdef}"), sample);
}

TEST(ParseGuid, AnEmptyTextIsTheZeroGuid) {
    EXPECT_EQ(ParseGuid(L""), Guid());
    EXPECT_EQ(ParseGuid(std::wstring_view()), Guid());
    EXPECT_EQ(ParseGuid(L"{"), Guid());
    EXPECT_EQ(ParseGuid(L"{}"), Guid());
}

TEST(ParseGuid, OnlyOneOpeningBraceIsSkipped) {
    EXPECT_EQ(ParseGuid(L"{{1234567-89AB-CDEF-0123-456789ABCDEF").data1, 0U);
}

TEST(ParseGuid, GroupsAreAtFixedPlacesWhateverIsBetween) {
    EXPECT_EQ(ParseGuid(L"01234567x89ABxCDEFx0123456789ABCDEF"), sample);
    // A group that is too short does not move the next one.
    EXPECT_EQ(ParseGuid(L"0123-89AB").data1, 0x0123U);
    EXPECT_EQ(ParseGuid(L"0123-89AB").data2, 0U);
}

TEST(ParseGuid, AGroupStopsAtTheFirstCharacterThatIsNoDigit) {
    const Guid guid = ParseGuid(L"{0123z567-8zAB-CzEF-0z23-456789ABCDEF}");
    EXPECT_EQ(guid.data1, 0x0123U);
    EXPECT_EQ(guid.data2, 0x8U);
    EXPECT_EQ(guid.data3, 0xCU);
    EXPECT_EQ(guid.data4[0], 0x00U);
    EXPECT_EQ(guid.data4[1], 0x23U);
}

TEST(ParseGuid, AGroupTakesNoMoreThanItsDigits) {
    EXPECT_EQ(ParseGuid(L"0123456789ABCDEF").data1, 0x01234567U);
    EXPECT_EQ(ParseGuid(L"01234567-89ABCDEF").data2, 0x89ABU);
}

TEST(ParseGuid, ACutTextLeavesTheRestZero) {
    EXPECT_EQ(ParseGuid(L"{01234567"), (Guid{0x01234567, 0, 0, {}}));
    EXPECT_EQ(ParseGuid(L"{01234567-89"), (Guid{0x01234567, 0x89, 0, {}}));
    EXPECT_EQ(ParseGuid(L"{01234567-89AB-CDEF-0123-4"),
              (Guid{0x01234567, 0x89AB, 0xCDEF, {0x01, 0x23, 0x04, 0, 0, 0, 0, 0}}));
}

TEST(ParseGuid, ALeadingMinusSignNegatesTheGroup) {
    EXPECT_EQ(ParseGuid(L"-0000001").data1, 0xFFFFFFFFU);
    EXPECT_EQ(ParseGuid(L"01234567--001").data2, 0xFFFFU);
    EXPECT_EQ(ParseGuid(L"01234567-89AB--002").data3, 0xFFFEU);
    // The sign doesn't count as one of the eight digits.
    EXPECT_EQ(ParseGuid(L"-12345678").data1, 0U - 0x12345678U);
}

TEST(ParseGuid, AMinusSignBeforeAByteIsASkipMark) {
    const Guid guid = ParseGuid(L"01234567-89AB-CDEF--01-2-3{4}5");
    EXPECT_EQ(guid.data4, (std::array<std::uint8_t, 8>{0x01, 0x02, 0x03, 0x04, 0x05}));
}

TEST(ParseGuid, AByteReadsOnePlaceAndStillTakesTwo) {
    // "1-" is the byte 1, and consumes the minus sign.
    const Guid guid = ParseGuid(L"01234567-89AB-CDEF-1-2233");
    EXPECT_EQ(guid.data4, (std::array<std::uint8_t, 8>{0x01, 0x22, 0x33}));
}

TEST(ParseGuid, BytesAfterTheEighthAreDropped) {
    EXPECT_EQ(ParseGuid(L"{01234567-89AB-CDEF-0123-456789ABCDEF}0102030405"), sample);
}

TEST(Guid, IsEqualByAllItsParts) {
    EXPECT_EQ(sample, Guid(sample));
    Guid other = sample;
    other.data4[7] = 0;
    EXPECT_NE(sample, other);
    other = sample;
    other.data3 = 0;
    EXPECT_NE(sample, other);
}

TEST(GuidHash, IsThatOfTheBytesInMemory) {
    // FNV-1a of 16 zero bytes, and of the ASCII digits 0 to 9 and a to f.
    const Guid ascii{0x33323130, 0x3534, 0x3736, {'8', '9', 'a', 'b', 'c', 'd', 'e', 'f'}};
    EXPECT_EQ(GuidHash()(Guid()), static_cast<std::size_t>(0x88201FB960FF6465ULL));
    EXPECT_EQ(GuidHash()(ascii), static_cast<std::size_t>(0x2E373913E5AD677DULL));
}

} // namespace
} // namespace keyreap
