#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// A zip file whose files are stored as they are. It has no time of its own: all its times are the earliest
// that the format has.
class StoredZip {
public:
    // Names are ASCII, with forward slashes.
    void Add(std::string_view name, std::string_view content);

    // The whole file.
    std::string Bytes() const;

private:
    struct Entry {
        std::string name;
        std::uint32_t checksum = 0;
        std::uint32_t size = 0;
        std::uint32_t offset = 0; // of its header
    };

    std::string files;
    std::vector<Entry> entries;
};

// The checksum of zip files: CRC-32, as in ISO 3309.
std::uint32_t Crc32(std::string_view bytes);

} // namespace keyreap
