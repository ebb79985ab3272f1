#include "kit/capture/messageline.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(InOneLine, ControlCharactersAndLineBreaksAreBlanks) {
    EXPECT_EQ(InOneLine("a\r\nb\x1B[2Jc\td"), "a  b [2Jc d");
    EXPECT_EQ(InOneLine(std::string("\0\x1F\x7F", 3)), "   ");
    EXPECT_EQ(InOneLine("\xC2\x80-\xC2\x9F"), " - ");
    EXPECT_EQ(InOneLine("\xE2\x80\xA8-\xE2\x80\xA9"), " - ");
}

TEST(InOneLine, AllOtherCharactersStay) {
    const std::string others = " ~\xC2\xA0\xC3\x9F\xE2\x80\xA7\xE2\x80\xAA\xE2\x82\xAC\xF0\x9F\x98\x80";
    EXPECT_EQ(InOneLine(others), others);
    EXPECT_EQ(InOneLine(""), "");
}

TEST(InOneLine, BytesThatAreNoCharactersStay) {
    EXPECT_EQ(InOneLine("\x80\xFF\nx\xE2\x80"), "\x80\xFF x\xE2\x80");
    EXPECT_EQ(InOneLine("x\xC2"), "x\xC2");
}

} // namespace
} // namespace keyreap
