#include "kit/show/base64.h"

#include <gtest/gtest.h>

#include <array>

namespace keyreap {
namespace {

std::string Encoded(std::string_view text) {
    return Base64Of(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

// The examples of RFC 4648, section 10.
TEST(Base64OfTest, FillsTheLastGroup) {
    EXPECT_EQ(Encoded(""), "");
    EXPECT_EQ(Encoded("f"), "Zg==");
    EXPECT_EQ(Encoded("fo"), "Zm8=");
    EXPECT_EQ(Encoded("foo"), "Zm9v");
    EXPECT_EQ(Encoded("foob"), "Zm9vYg==");
    EXPECT_EQ(Encoded("foobar"), "Zm9vYmFy");
}

TEST(Base64OfTest, UsesThePlusSignAndTheSlash) {
    EXPECT_EQ(Base64Of(std::array<std::uint8_t, 3>{0xFB, 0xEF, 0xFF}), "++//");
}

} // namespace
} // namespace keyreap
