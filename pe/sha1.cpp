#include "pe/sha1.h"

#include <algorithm>
#include <bit>

namespace keyreap {

namespace {

constexpr std::size_t rounds = 80;
constexpr std::size_t lengthSize = 8;

std::uint32_t BigEndian32(const std::byte* bytes) {
    return std::to_integer<std::uint32_t>(bytes[0]) << 24 | std::to_integer<std::uint32_t>(bytes[1]) << 16 |
           std::to_integer<std::uint32_t>(bytes[2]) << 8 | std::to_integer<std::uint32_t>(bytes[3]);
}

// The message schedule of one block.
std::array<std::uint32_t, rounds> Schedule(const std::byte* block) {
    std::array<std::uint32_t, rounds> words;
    for (std::size_t t = 0; t < 16; ++t) {
        words[t] = BigEndian32(block + 4 * t);
    }
    for (std::size_t t = 16; t < rounds; ++t) {
        words[t] = std::rotl(words[t - 3] ^ words[t - 8] ^ words[t - 14] ^ words[t - 16], 1);
    }
    return words;
}

// The logical function and the constant of a round.
std::uint32_t Mixed(std::size_t round, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    if (round < 20) {
        return ((b & c) | (~b & d)) + 0x5A827999;
    }
    if (round < 40) {
        return (b ^ c ^ d) + 0x6ED9EBA1;
    }
    if (round < 60) {
        return ((b & c) | (b & d) | (c & d)) + 0x8F1BBCDC;
    }
    return (b ^ c ^ d) + 0xCA62C1D6;
}

} // namespace

void Sha1::AddBlock(const std::byte* block) {
    const std::array<std::uint32_t, rounds> words = Schedule(block);
    auto [a, b, c, d, e] = state;
    for (std::size_t t = 0; t < rounds; ++t) {
        const std::uint32_t next = std::rotl(a, 5) + Mixed(t, b, c, d) + e + words[t];
        e = d;
        d = c;
        c = std::rotl(b, 30);
        b = a;
        a = next;
    }
    const std::array<std::uint32_t, 5> sums = {a, b, c, d, e};
    for (std::size_t i = 0; i < state.size(); ++i) {
        state[i] += sums[i];
    }
}

void Sha1::Add(std::span<const std::byte> bytes) {
    totalSize += bytes.size();
    if (pendingSize != 0) {
        const std::size_t taken = std::min(blockSize - pendingSize, bytes.size());
        std::copy_n(bytes.begin(), taken, pending.begin() + static_cast<std::ptrdiff_t>(pendingSize));
        pendingSize += taken;
        bytes = bytes.subspan(taken);
        if (pendingSize < blockSize) {
            return;
        }
        AddBlock(pending.data());
        pendingSize = 0;
    }
    for (; bytes.size() >= blockSize; bytes = bytes.subspan(blockSize)) {
        AddBlock(bytes.data());
    }
    std::copy(bytes.begin(), bytes.end(), pending.begin());
    pendingSize = bytes.size();
}

Sha1Digest Sha1::Finish() {
    const std::uint64_t bits = totalSize * 8;
    // A one bit, zeros up to the last eight bytes of a block, and the length in bits.
    std::array<std::byte, blockSize + lengthSize> padding{std::byte{0x80}};
    const std::size_t room = (2 * blockSize - lengthSize - pendingSize - 1) % blockSize;
    const std::size_t lengthPlace = 1 + room;
    for (std::size_t i = 0; i < lengthSize; ++i) {
        padding[lengthPlace + i] = static_cast<std::byte>(bits >> (8 * (lengthSize - 1 - i)));
    }
    Add(std::span(padding).first(lengthPlace + lengthSize));

    Sha1Digest digest;
    for (std::size_t i = 0; i < digest.size(); ++i) {
        digest[i] = static_cast<std::uint8_t>(state[i / 4] >> (8 * (3 - i % 4)));
    }
    return digest;
}

Sha1Digest Sha1Of(std::span<const std::byte> bytes) {
    Sha1 hash;
    hash.Add(bytes);
    return hash.Finish();
}

} // namespace keyreap
