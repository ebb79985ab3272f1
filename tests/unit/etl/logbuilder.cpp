#include "tests/unit/etl/logbuilder.h"

namespace keyreap {

namespace {

Layout KernelHeader(std::uint8_t headerType, std::uint16_t hookId, std::uint16_t version, std::size_t size) {
    Layout header;
    header.U16(version).U8(headerType).U8(0xC0).U16(static_cast<std::uint16_t>(size)).U16(hookId);
    return header;
}

Layout& Origin(Layout& header, std::uint32_t processId = recordProcess) {
    return header.U32(recordThread).U32(processId).U64(recordTime);
}

Layout ClassicHeader(std::uint8_t headerType, std::uint8_t type, std::uint8_t level, std::uint16_t version,
                     std::size_t size) {
    Layout header;
    header.U16(static_cast<std::uint16_t>(size)).U8(headerType).U8(0xC0).U8(type).U8(level).U16(version);
    return Origin(header).Raw(GuidBytes(0x20)).U32(1).U32(2);
}

} // namespace

Layout& Layout::Fill(std::size_t count, std::byte value) {
    bytes.insert(bytes.end(), count, value);
    return *this;
}

Layout& Layout::Text(std::wstring_view text) {
    for (const wchar_t unit : text) {
        U16(static_cast<std::uint16_t>(unit));
    }
    return U16(0);
}

Layout& Layout::Raw(const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    return *this;
}

Layout& Layout::Append(std::uint64_t value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        bytes.push_back(static_cast<std::byte>(value >> (8 * i)));
    }
    return *this;
}

Bytes GuidBytes(std::uint8_t first) {
    Layout guid;
    for (std::uint8_t i = 0; i < 16; ++i) {
        guid.U8(static_cast<std::uint8_t>(first + i));
    }
    return guid.bytes;
}

Guid GuidOf(std::uint8_t first) {
    const auto byte = [first](unsigned index) { return static_cast<std::uint8_t>(first + index); };
    Guid guid;
    guid.data1 =
        std::uint32_t{byte(3)} << 24 | std::uint32_t{byte(2)} << 16 | std::uint32_t{byte(1)} << 8 | first;
    guid.data2 = static_cast<std::uint16_t>(byte(5) << 8 | byte(4));
    guid.data3 = static_cast<std::uint16_t>(byte(7) << 8 | byte(6));
    for (unsigned i = 0; i < 8; ++i) {
        guid.data4[i] = byte(8 + i);
    }
    return guid;
}

Bytes SystemRecord(std::uint8_t headerType, std::uint16_t hookId, std::uint16_t version, const Bytes& payload,
                   std::uint32_t processId) {
    Layout record = KernelHeader(headerType, hookId, version, 32 + payload.size());
    return Origin(record, processId).U32(1).U32(2).Raw(payload).bytes;
}

Bytes CompactRecord(std::uint8_t headerType, std::uint16_t hookId, std::uint16_t version,
                    const Bytes& payload) {
    Layout record = KernelHeader(headerType, hookId, version, 24 + payload.size());
    return Origin(record).Raw(payload).bytes;
}

Bytes PerfInfoRecord(std::uint8_t headerType, std::uint16_t hookId, std::uint16_t version,
                     const Bytes& payload) {
    return KernelHeader(headerType, hookId, version, 16 + payload.size()).U64(recordTime).Raw(payload).bytes;
}

Bytes ClassicRecord(std::uint8_t headerType, std::uint8_t type, std::uint8_t level, std::uint16_t version,
                    const Bytes& payload) {
    return ClassicHeader(headerType, type, level, version, 48 + payload.size()).Raw(payload).bytes;
}

Bytes InstanceRecord(std::uint8_t headerType, std::uint8_t type, std::uint8_t level, std::uint16_t version,
                     const Bytes& payload) {
    Layout record = ClassicHeader(headerType, type, level, version, 72 + payload.size());
    return record.U32(7).U32(6).Raw(GuidBytes(0x60)).Raw(payload).bytes;
}

Bytes ManifestRecord(std::uint8_t headerType, const ManifestFields& fields, const Bytes& content) {
    Layout record;
    record.U16(static_cast<std::uint16_t>(80 + content.size())).U8(headerType).U8(0xC0);
    Origin(record.U16(fields.flags).U16(0)).Raw(GuidBytes(0x40));
    record.U16(fields.id).U8(fields.version).U8(0x0B).U8(fields.level).U8(fields.opcode).U16(0x99).U64(0);
    return record.U64(0).Raw(GuidBytes(0xA0)).Raw(content).bytes;
}

Bytes NumberedRecord(std::uint32_t number) {
    return SystemRecord(2, 0x090A, 2, Layout().Zeros(24).Text(L"Name").bytes, number);
}

Bytes BufferOf(const std::vector<Bytes>& records, const BufferFields& fields) {
    Layout content;
    for (const Bytes& record : records) {
        content.Raw(record).PadTo8();
    }
    const auto end = static_cast<std::uint32_t>(72 + content.bytes.size());
    const std::uint32_t saved = fields.savedOffset == UINT32_MAX ? end : fields.savedOffset;
    Layout buffer;
    buffer.U32(fields.bufferSize).U32(saved).U32(end).U32(0).U64(recordTime);
    buffer.U64(static_cast<std::uint64_t>(fields.sequenceNumber)).Zeros(12).U32(3).U32(end).U16(fields.flags);
    buffer.U16(0).Zeros(16).Raw(content.bytes);
    return buffer.Fill(1024 - buffer.bytes.size(), fields.fill).bytes;
}

Bytes LogHeaderRecord(const LogFields& fields) {
    Layout payload;
    payload.U32(1024).U8(6).U8(1).U8(1).U8(5).U32(7601).U32(4).U64(0x1D60000000000001).U32(156250).U32(100);
    payload.U32(fields.logFileMode).U32(3).U32(fields.startBuffers).U32(fields.pointerSize).U32(9).U32(3000);
    payload.Zeros(2 * fields.pointerSize).U32(static_cast<std::uint32_t>(-60)).Zeros(168).PadTo8();
    payload.U64(0x1D60000000000002).U64(2'500'000).U64(0x1D60000000000003).U32(1).U32(8);
    payload.Text(L"The logger").Text(L"C:\\the.etl");
    return SystemRecord(fields.pointerSize == 4 ? 1 : 2, 0x0000, 2, payload.bytes);
}

Bytes LogOf(const std::vector<Bytes>& buffers, const LogFields& fields) {
    Layout log;
    log.Raw(BufferOf({LogHeaderRecord(fields)}));
    for (const Bytes& buffer : buffers) {
        log.Raw(buffer);
    }
    return log.bytes;
}

} // namespace keyreap
