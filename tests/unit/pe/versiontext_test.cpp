#include "pe/versiontext.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(FileVersionText, HasTheHighHalvesFirstAndNoLeadingZeros) {
    EXPECT_EQ(FileVersionText(0x00010002, 0x00030004), L"1.2.3.4");
    EXPECT_EQ(FileVersionText(0, 0), L"0.0.0.0");
}

TEST(FileVersionText, PartsAbove32767AreUnsigned) {
    EXPECT_EQ(FileVersionText(0x80007FFF, 0xFFFF8001), L"32768.32767.65535.32769");
}

TEST(CompanyNameBlock, HasFourLowerCaseDigitsEach) {
    EXPECT_EQ(CompanyNameBlock(0x0409, 0x04B0), L"\\StringFileInfo\\040904b0\\CompanyName");
    EXPECT_EQ(CompanyNameBlock(0xABCD, 0), L"\\StringFileInfo\\abcd0000\\CompanyName");
}

TEST(CompanyNameBlock, OfTheDefaultTranslationIsInHexadecimalToo) {
    EXPECT_EQ(CompanyNameBlock(1033, 1250), L"\\StringFileInfo\\040904e2\\CompanyName");
}

} // namespace
} // namespace keyreap
