#include "pe/sha1.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace keyreap {
namespace {

std::string Hex(const Sha1Digest& digest) {
    std::string text;
    for (const std::uint8_t byte : digest) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 0xF];
    }
    return text;
}

std::string HashOf(std::string_view text) {
    return Hex(Sha1Of(std::as_bytes(std::span(text))));
}

// The texts and digests of FIPS 180 and of RFC 3174.
TEST(Sha1, GivesThePublishedDigests) {
    EXPECT_EQ(HashOf(""), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    EXPECT_EQ(HashOf("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(HashOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
    EXPECT_EQ(HashOf("abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmn"
                     "hijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu"),
              "a49b2446a02c645bf419f995b67091253a04a259");
}

TEST(Sha1, GivesTheDigestOfAMillionLetters) {
    EXPECT_EQ(HashOf(std::string(1000000, 'a')), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

TEST(Sha1, DoesNotDependOnHowTheBytesArrive) {
    const std::string text = std::string(300, 'x') + "end";
    const auto bytes = std::as_bytes(std::span(text));
    for (std::size_t piece = 1; piece < 140; ++piece) {
        Sha1 hash;
        for (std::size_t at = 0; at < bytes.size(); at += piece) {
            hash.Add(bytes.subspan(at, std::min(piece, bytes.size() - at)));
        }
        EXPECT_EQ(Hex(hash.Finish()), HashOf(text)) << piece;
    }
}

TEST(Sha1, PadsEveryLengthAroundTheEdgesOfABlock) {
    // The digests are those of an independent implementation.
    EXPECT_EQ(HashOf(std::string(55, 'a')), "c1c8bbdc22796e28c0e15163d20899b65621d65a");
    EXPECT_EQ(HashOf(std::string(56, 'a')), "c2db330f6083854c99d4b5bfb6e8f29f201be699");
    EXPECT_EQ(HashOf(std::string(63, 'a')), "03f09f5b158a7a8cdad920bddc29b81c18a551f5");
    EXPECT_EQ(HashOf(std::string(64, 'a')), "0098ba824b5c16427bd7a1122a5a442a25ec644d");
    EXPECT_EQ(HashOf(std::string(65, 'a')), "11655326c708d70319be2610e8a57d9a5b959d3b");
}

} // namespace
} // namespace keyreap
