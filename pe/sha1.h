#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace keyreap {

using Sha1Digest = std::array<std::uint8_t, 20>;

// SHA-1 as published in FIPS 180-4. It distinguishes files; it protects nothing.
class Sha1 {
public:
    void Add(std::span<const std::byte> bytes);

    // The digest of all added bytes. Nothing can be added after this call.
    Sha1Digest Finish();

private:
    static constexpr std::size_t blockSize = 64;

    void AddBlock(const std::byte* block);

    std::array<std::uint32_t, 5> state = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    std::array<std::byte, blockSize> pending{};
    std::size_t pendingSize = 0;
    std::uint64_t totalSize = 0;
};

Sha1Digest Sha1Of(std::span<const std::byte> bytes);

} // namespace keyreap
