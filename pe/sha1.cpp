#include "pe/sha1.h"

#include <algorithm>
#include <bit>

namespace keyreap {

namespace {

constexpr std::size_t lengthSize = 8;

using Word = std::uint32_t;

// The last sixteen words of a block's message schedule.
using Words = std::array<Word, 16>;

Word BigEndian32(const std::byte* bytes) {
    return std::to_integer<Word>(bytes[0]) << 24 | std::to_integer<Word>(bytes[1]) << 16 |
           std::to_integer<Word>(bytes[2]) << 8 | std::to_integer<Word>(bytes[3]);
}

// The schedule's word of a round. Rounds come in order.
template <std::size_t round>
Word NextWord(Words& words, const std::byte* block) {
    if constexpr (round < 16) {
        words[round] = BigEndian32(block + 4 * round);
    } else {
        words[round % 16] = std::rotl(words[(round - 3) % 16] ^ words[(round - 8) % 16] ^
                                          words[(round - 14) % 16] ^ words[round % 16],
                                      1);
    }
    return words[round % 16];
}

// The logical functions, in the forms that need the fewest operations.
constexpr auto choose = [](Word b, Word c, Word d) { return d ^ (b & (c ^ d)); };
constexpr auto parity = [](Word b, Word c, Word d) { return b ^ c ^ d; };
constexpr auto majority = [](Word b, Word c, Word d) { return (b & c) + (d & (b ^ c)); };

template <typename Mix>
void Round(Word a, Word& b, Word c, Word d, Word& e, Word added, Mix mix) {
    e += std::rotl(a, 5) + mix(b, c, d) + added;
    b = std::rotl(b, 30);
}

// Five rounds: the words of the state change their names instead of their places. After five rounds each has
// its own name again.
template <std::size_t first, typename Mix>
void FiveRounds(Word& a, Word& b, Word& c, Word& d, Word& e, Words& words, const std::byte* block,
                Word constant, Mix mix) {
    Round(a, b, c, d, e, NextWord<first>(words, block) + constant, mix);
    Round(e, a, b, c, d, NextWord<first + 1>(words, block) + constant, mix);
    Round(d, e, a, b, c, NextWord<first + 2>(words, block) + constant, mix);
    Round(c, d, e, a, b, NextWord<first + 3>(words, block) + constant, mix);
    Round(b, c, d, e, a, NextWord<first + 4>(words, block) + constant, mix);
}

template <std::size_t first, typename Mix>
void TwentyRounds(Word& a, Word& b, Word& c, Word& d, Word& e, Words& words, const std::byte* block,
                  Word constant, Mix mix) {
    FiveRounds<first>(a, b, c, d, e, words, block, constant, mix);
    FiveRounds<first + 5>(a, b, c, d, e, words, block, constant, mix);
    FiveRounds<first + 10>(a, b, c, d, e, words, block, constant, mix);
    FiveRounds<first + 15>(a, b, c, d, e, words, block, constant, mix);
}

} // namespace

void Sha1::AddBlock(const std::byte* block) {
    Words words;
    auto [a, b, c, d, e] = state;
    TwentyRounds<0>(a, b, c, d, e, words, block, 0x5A827999, choose);
    TwentyRounds<20>(a, b, c, d, e, words, block, 0x6ED9EBA1, parity);
    TwentyRounds<40>(a, b, c, d, e, words, block, 0x8F1BBCDC, majority);
    TwentyRounds<60>(a, b, c, d, e, words, block, 0xCA62C1D6, parity);
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
