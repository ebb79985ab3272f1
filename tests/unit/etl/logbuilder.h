#pragma once

#include "tests/unit/etl/memorylog.h"

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace keyreap {

// Bytes laid out value by value, little-endian.
class Layout {
public:
    Layout& U8(std::uint8_t value) { return Append(value, 1); }
    Layout& U16(std::uint16_t value) { return Append(value, 2); }
    Layout& U32(std::uint32_t value) { return Append(value, 4); }
    Layout& U64(std::uint64_t value) { return Append(value, 8); }
    Layout& Zeros(std::size_t count) { return Fill(count, std::byte{0}); }
    Layout& Fill(std::size_t count, std::byte value);
    Layout& Text(std::wstring_view text); // with terminator
    Layout& Raw(const Bytes& more);
    Layout& PadTo8() { return Zeros((8 - bytes.size() % 8) % 8); }

    Bytes bytes;

private:
    Layout& Append(std::uint64_t value, std::size_t size);
};

// The origin of every record of a test whose header has these fields.
inline constexpr std::uint32_t recordThread = 0x11223344;
inline constexpr std::uint32_t recordProcess = 0x55667788;
inline constexpr std::int64_t recordTime = 0x0102030405060708;

// The bytes of a GUID as they are in a record: 00 01 02 and so on, from `first` on.
Bytes GuidBytes(std::uint8_t first);
Guid GuidOf(std::uint8_t first);

// Records of each kind, unpadded. `headerType` is the value in bits 16 to 23 of the marker.
Bytes SystemRecord(std::uint8_t headerType, std::uint16_t hookId, std::uint16_t version, const Bytes& payload,
                   std::uint32_t processId = recordProcess);
Bytes CompactRecord(std::uint8_t headerType, std::uint16_t hookId, std::uint16_t version,
                    const Bytes& payload);
Bytes PerfInfoRecord(std::uint8_t headerType, std::uint16_t hookId, std::uint16_t version,
                     const Bytes& payload);
Bytes ClassicRecord(std::uint8_t headerType, std::uint8_t type, std::uint8_t level, std::uint16_t version,
                    const Bytes& payload);
Bytes InstanceRecord(std::uint8_t headerType, std::uint8_t type, std::uint8_t level, std::uint16_t version,
                     const Bytes& payload);

struct ManifestFields {
    std::uint16_t id = 0;
    std::uint8_t version = 0;
    std::uint8_t level = 0;
    std::uint8_t opcode = 0;
    std::uint16_t flags = 0;
};
// `content` is all that follows the header: extended items, if the flags say so, and the payload.
Bytes ManifestRecord(std::uint8_t headerType, const ManifestFields& fields, const Bytes& content);

// A registry event whose process id is its number.
Bytes NumberedRecord(std::uint32_t number);

// A buffer with these records, each padded.
struct BufferFields {
    std::uint32_t bufferSize = 1024;
    std::uint32_t savedOffset = UINT32_MAX; // the end of the last record, unless set
    std::int64_t sequenceNumber = 0;
    std::uint16_t flags = 0;
    std::byte fill{0xFF};
};
Bytes BufferOf(const std::vector<Bytes>& records, const BufferFields& fields = {});

// A log header event.
struct LogFields {
    std::uint32_t pointerSize = 8;
    std::uint32_t logFileMode = 1;
    std::uint32_t startBuffers = 1;
};
Bytes LogHeaderRecord(const LogFields& fields = {});

// A log whose first buffer contains the log header alone.
Bytes LogOf(const std::vector<Bytes>& buffers, const LogFields& fields = {});

} // namespace keyreap
