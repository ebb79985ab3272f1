#include "platform/core/text/hash.h"

#include <gtest/gtest.h>

#include <string_view>

namespace keyreap {
namespace {

std::uint64_t HashOfBytes(std::string_view bytes) {
    Fnv1a hash;
    for (const char byte : bytes) {
        hash.AddByte(static_cast<std::uint8_t>(byte));
    }
    return hash.Value();
}

std::uint64_t HashOfText(std::wstring_view text) {
    Fnv1a hash;
    hash.AddText(text);
    return hash.Value();
}

// The vectors that the hash's authors publish.
TEST(Fnv1a, GivesThePublishedValues) {
    EXPECT_EQ(HashOfBytes(""), 0xCBF29CE484222325ULL);
    EXPECT_EQ(HashOfBytes("a"), 0xAF63DC4C8601EC8CULL);
    EXPECT_EQ(HashOfBytes("b"), 0xAF63DF4C8601F1A5ULL);
    EXPECT_EQ(HashOfBytes("fo"), 0x08985907B541D342ULL);
    EXPECT_EQ(HashOfBytes("foobar"), 0x85944171F73967E8ULL);
}

TEST(Fnv1a, TextCountsEachUnitLowByteFirst) {
    EXPECT_EQ(HashOfText(L"\x4241\x4443"), HashOfBytes("ABCD"));
    EXPECT_EQ(HashOfText(L"a"), HashOfBytes(std::string_view("a\0", 2)));
    EXPECT_EQ(HashOfText(L""), HashOfBytes(""));
}

TEST(Fnv1a, IntegerCountsItsBytesLowByteFirst) {
    Fnv1a hash;
    hash.AddInteger(std::uint32_t{0x44434241});
    EXPECT_EQ(hash.Value(), HashOfBytes("ABCD"));
    Fnv1a wide;
    wide.AddInteger(std::uint64_t{0x4847464544434241});
    EXPECT_EQ(wide.Value(), HashOfBytes("ABCDEFGH"));
}

} // namespace
} // namespace keyreap
