#include "regmodel/regbytes.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(RegBytes, ByteOrderMarkMeansUtf16) {
    EXPECT_EQ(EncodingOf(Bytes{0xFF, 0xFE}), RegEncoding::Utf16);
    EXPECT_EQ(EncodingOf(Bytes{0xFF}), RegEncoding::Windows1252);
    EXPECT_EQ(EncodingOf(Bytes{'R', 'E'}), RegEncoding::Windows1252);
    EXPECT_EQ(EncodingOf(Bytes{0xFE, 0xFF}), RegEncoding::Windows1252);
}

TEST(RegBytes, UnitsHaveTheirLowByteFirst) {
    const Bytes bytes = {0xFF, 0xFE, 0x34, 0x12, 0x00, 0xD8};
    EXPECT_EQ(UnitsOfBytes(bytes, RegEncoding::Utf16), (std::wstring{0x1234, static_cast<wchar_t>(0xD800)}));
    EXPECT_EQ(BytesOfUnits(UnitsOfBytes(bytes, RegEncoding::Utf16), RegEncoding::Utf16), bytes);
}

TEST(RegBytes, EveryByteOfWindows1252HasAUnitOfItsOwn) {
    Bytes all(256);
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i] = static_cast<std::uint8_t>(i);
    }
    EXPECT_EQ(NarrowWindows1252(WidenWindows1252(all)), all);
}

TEST(RegBytes, CharactersAreThoseOfWindows1252) {
    EXPECT_EQ(WidenWindows1252(Bytes{0x41, 0x80, 0x9F, 0xA0, 0xFF}), L"A\x20AC\x0178\x00A0\x00FF");
}

TEST(RegBytes, CharacterThatWindows1252DoesNotHaveHasNoByte) {
    EXPECT_EQ(NarrowWindows1252(L"\x0100"), std::nullopt);
    EXPECT_EQ(NarrowWindows1252(L"\x0080"), std::nullopt);
}

TEST(RegBytes, OnlyTextsOfTheOlderVersionAreWidened) {
    EXPECT_EQ(DataOfHexBytes({'a', 0}, 2, RegVersion::Four), (Bytes{'a', 0, 0, 0}));
    EXPECT_EQ(DataOfHexBytes({'a', 0}, 2, RegVersion::Five), (Bytes{'a', 0}));
    EXPECT_EQ(DataOfHexBytes({'a', 0}, 11, RegVersion::Four), (Bytes{'a', 0}));
}

TEST(RegBytes, HexBytesAreThoseOfTheFileAgain) {
    EXPECT_EQ(HexBytesOfData({'a', 0, 0, 0}, 1, RegVersion::Four), (Bytes{'a', 0}));
    EXPECT_EQ(HexBytesOfData({'a', 0, 0}, 7, RegVersion::Four), std::nullopt);
    EXPECT_EQ(HexBytesOfData({'a', 0, 0}, 7, RegVersion::Five), (Bytes{'a', 0, 0}));
}

} // namespace
} // namespace keyreap
