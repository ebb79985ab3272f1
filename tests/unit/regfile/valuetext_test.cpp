#include "regfile/valuetext.h"

#include <gtest/gtest.h>

#include <vector>

namespace keyreap {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Wide(std::wstring_view text) {
    Bytes bytes;
    for (const wchar_t unit : text) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>((unit >> 8) & 0xFF));
    }
    return bytes;
}

std::wstring With(std::wstring_view text) {
    return std::wstring(text);
}

ValueText Harvest(RegType type, const Bytes& data, ValueText before = L"before") {
    HarvestValueText(static_cast<std::uint32_t>(type), data, before);
    return before;
}

ValueText Replay(RegType type, const Bytes& data) {
    return ReplayValueText(static_cast<std::uint32_t>(type), data);
}

TEST(HarvestValueText, EmptyDataClearsTheTextForEveryType) {
    for (std::uint32_t type = 0; type <= 12; ++type) {
        ValueText text = L"before";
        HarvestValueText(type, {}, text);
        EXPECT_EQ(text, L"") << type;
    }
}

TEST(HarvestValueText, StringsEndAtTheFirstNul) {
    EXPECT_EQ(Harvest(RegType::Sz, Wide(With({L"ab\0cd\0", 6}))), L"ab");
    EXPECT_EQ(Harvest(RegType::ExpandSz, Wide(With({L"%a%\0", 4}))), L"%a%");
    EXPECT_EQ(Harvest(RegType::Sz, Wide(With({L"\0", 1}))), L"");
}

TEST(HarvestValueText, StringWithoutTerminatorEndsWithItsData) {
    EXPECT_EQ(Harvest(RegType::Sz, Wide(L"abc")), L"abc");
}

TEST(HarvestValueText, OddLastByteIsIgnored) {
    EXPECT_EQ(Harvest(RegType::Sz, {0x61, 0x00, 0x62}), L"a");
    EXPECT_EQ(Harvest(RegType::Sz, {0x61}), L"");
}

TEST(HarvestValueText, BinaryBecomesLowerCasePairs) {
    EXPECT_EQ(Harvest(RegType::Binary, {0x00, 0x0A, 0xFF, 0x80}), L"000aff80");
}

TEST(HarvestValueText, DwordIsLittleEndianUnsignedDecimal) {
    EXPECT_EQ(Harvest(RegType::Dword, {0x10, 0x00, 0x00, 0x00}), L"16");
    EXPECT_EQ(Harvest(RegType::Dword, {0xFF, 0xFF, 0xFF, 0xFF}), L"4294967295");
}

TEST(HarvestValueText, DwordReadsItsFirstFourBytes) {
    EXPECT_EQ(Harvest(RegType::Dword, {0x01, 0x02, 0x00, 0x00, 0xFF}), L"513");
}

TEST(HarvestValueText, BytesThatAShortDwordLacksCountAsZero) {
    EXPECT_EQ(Harvest(RegType::Dword, {0x05}), L"5");
    EXPECT_EQ(Harvest(RegType::Dword, {0x05, 0x01, 0x01}), L"65797");
}

TEST(HarvestValueText, MultiStringBecomesLines) {
    EXPECT_EQ(Harvest(RegType::MultiSz, Wide(With({L"a\0b\0\0", 5}))), L"a\r\nb\r\n");
    EXPECT_EQ(Harvest(RegType::MultiSz, Wide(With({L"\0", 1}))), L"");
    EXPECT_EQ(Harvest(RegType::MultiSz, Wide(With({L"\0\0", 2}))), L"\r\n");
}

TEST(HarvestValueText, MultiStringWithoutFinalNulEndsWithItsData) {
    EXPECT_EQ(Harvest(RegType::MultiSz, Wide(With({L"a\0b", 3}))), L"a\r\nb");
}

TEST(HarvestValueText, LineFeedInsideAMultiStringGainsACarriageReturn) {
    EXPECT_EQ(Harvest(RegType::MultiSz, Wide(With({L"a\nb\0\0", 5}))), L"a\r\nb\r\n");
}

TEST(HarvestValueText, OtherTypesLeaveTheTextAsItWas) {
    for (const std::uint32_t type : {0U, 5U, 6U, 8U, 9U, 10U, 11U, 12U, 0x12345U}) {
        ValueText text = L"before";
        HarvestValueText(type, Bytes{1, 2, 3, 4, 5, 6, 7, 8}, text);
        EXPECT_EQ(text, L"before") << type;
    }
}

TEST(ReplayValueText, StringsAndOtherTypesEndAtTheFirstNul) {
    for (const std::uint32_t type : {0U, 1U, 2U, 5U, 6U, 8U, 9U, 10U, 12U, 0x12345U}) {
        EXPECT_EQ(ReplayValueText(type, Wide(With({L"ab\0c", 4}))), L"ab") << type;
        EXPECT_EQ(ReplayValueText(type, Wide(L"ab")), L"ab") << type;
        EXPECT_EQ(ReplayValueText(type, {}), L"") << type;
    }
}

TEST(ReplayValueText, BinaryAndQwordBecomePairs) {
    EXPECT_EQ(Replay(RegType::Binary, {0x01, 0xAB}), L"01ab");
    EXPECT_EQ(Replay(RegType::Qword, {1, 2, 3, 4, 5, 6, 7, 8}), L"0102030405060708");
    EXPECT_EQ(Replay(RegType::Binary, {}), L"");
    EXPECT_EQ(Replay(RegType::Qword, {}), L"");
}

TEST(ReplayValueText, DwordNeedsFourBytes) {
    EXPECT_EQ(Replay(RegType::Dword, {0x10, 0, 0, 0}), L"16");
    EXPECT_EQ(Replay(RegType::Dword, {0x10, 0, 0}), L"");
    EXPECT_EQ(Replay(RegType::Dword, {}), L"");
}

TEST(ReplayValueText, MultiStringKeepsItsNulsAndLosesTheLastCharacter) {
    EXPECT_EQ(Replay(RegType::MultiSz, Wide(With({L"a\0b\0\0", 5}))), With({L"a\0b\0", 4}));
    EXPECT_EQ(Replay(RegType::MultiSz, Wide(L"ab")), L"a");
    EXPECT_EQ(Replay(RegType::MultiSz, Wide(With({L"\0", 1}))), L"");
    EXPECT_EQ(Replay(RegType::MultiSz, {}), L"");
}

} // namespace
} // namespace keyreap
