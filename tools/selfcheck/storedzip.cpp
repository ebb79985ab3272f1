#include "tools/selfcheck/storedzip.h"

namespace keyreap {

namespace {

// Signatures and fields of PKWARE's APPNOTE.TXT.
constexpr std::uint32_t fileHeader = 0x04034B50;
constexpr std::uint32_t directoryHeader = 0x02014B50;
constexpr std::uint32_t directoryEnd = 0x06054B50;
constexpr std::uint16_t version = 10; // 1.0: files that are stored
constexpr std::uint16_t firstDay = (1 << 5) | 1;

void Put16(std::string& bytes, std::uint16_t number) {
    bytes += static_cast<char>(number & 0xFF);
    bytes += static_cast<char>(number >> 8);
}

void Put32(std::string& bytes, std::uint32_t number) {
    Put16(bytes, static_cast<std::uint16_t>(number & 0xFFFF));
    Put16(bytes, static_cast<std::uint16_t>(number >> 16));
}

// What the header of a file and its entry in the directory have in common.
void PutFacts(std::string& bytes, std::uint32_t checksum, std::uint32_t size, std::size_t nameLength) {
    Put16(bytes, version);
    Put16(bytes, 0); // flags
    Put16(bytes, 0); // stored
    Put16(bytes, 0); // time of day
    Put16(bytes, firstDay);
    Put32(bytes, checksum);
    Put32(bytes, size);
    Put32(bytes, size);
    Put16(bytes, static_cast<std::uint16_t>(nameLength));
    Put16(bytes, 0); // no further fields
}

} // namespace

std::uint32_t Crc32(std::string_view bytes) {
    constexpr std::uint32_t polynomial = 0xEDB88320;
    std::uint32_t sum = 0xFFFFFFFF;
    for (const char byte : bytes) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? polynomial : 0);
        }
    }
    return ~sum;
}

void StoredZip::Add(std::string_view name, std::string_view content) {
    Entry entry{std::string(name), Crc32(content), static_cast<std::uint32_t>(content.size()),
                static_cast<std::uint32_t>(files.size())};
    Put32(files, fileHeader);
    PutFacts(files, entry.checksum, entry.size, name.size());
    files += name;
    files += content;
    entries.push_back(std::move(entry));
}

std::string StoredZip::Bytes() const {
    std::string directory;
    for (const Entry& entry : entries) {
        Put32(directory, directoryHeader);
        Put16(directory, version);
        PutFacts(directory, entry.checksum, entry.size, entry.name.size());
        Put16(directory, 0); // no comment
        Put16(directory, 0); // first disk
        Put16(directory, 0); // attributes
        Put32(directory, 0);
        Put32(directory, entry.offset);
        directory += entry.name;
    }
    std::string end;
    Put32(end, directoryEnd);
    Put32(end, 0); // disks
    Put16(end, static_cast<std::uint16_t>(entries.size()));
    Put16(end, static_cast<std::uint16_t>(entries.size()));
    Put32(end, static_cast<std::uint32_t>(directory.size()));
    Put32(end, static_cast<std::uint32_t>(files.size()));
    Put16(end, 0); // no comment
    return files + directory + end;
}

} // namespace keyreap
