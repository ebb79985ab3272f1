#include "tests/unit/etl/independentdecoder.h"

#include <cstring>

namespace keyreap::independent {

namespace {

void Require(bool regular, const char* rule) {
    if (!regular) {
        throw Irregularity(rule);
    }
}

template <typename Structure>
Structure Copied(const std::vector<std::byte>& bytes, std::size_t offset, std::size_t end) {
    Require(end <= bytes.size() && offset <= end && end - offset >= sizeof(Structure), "structure is inside");
    Structure structure;
    std::memcpy(&structure, bytes.data() + offset, sizeof(structure));
    return structure;
}

std::wstring TextWithTerminator(const std::vector<std::byte>& bytes, std::size_t& offset) {
    std::wstring text;
    while (true) {
        const auto unit = Copied<std::uint16_t>(bytes, offset, bytes.size());
        offset += 2;
        if (unit == 0) {
            return text;
        }
        text.push_back(static_cast<wchar_t>(unit));
    }
}

bool AllAre(const std::vector<std::byte>& bytes, std::size_t from, std::size_t to, std::byte value) {
    for (std::size_t i = from; i < to; ++i) {
        if (bytes[i] != value) {
            return false;
        }
    }
    return true;
}

Record DecodeRecord(const std::vector<std::byte>& bytes, std::size_t at, std::size_t end) {
    Record record;
    record.header = Copied<SystemTraceHeader>(bytes, at, end);
    Require(record.header.HeaderType == 2, "the header is a system header, 64 bit");
    Require(record.header.Flags == 0xC0, "the marker has TRACE_HEADER_FLAG and TRACE_HEADER_EVENT_TRACE");
    const std::size_t size = record.header.PacketSize;
    Require(size >= sizeof(SystemTraceHeader) && size <= end - at, "the record is inside its buffer");
    record.payload.assign(bytes.begin() + static_cast<std::ptrdiff_t>(at + sizeof(SystemTraceHeader)),
                          bytes.begin() + static_cast<std::ptrdiff_t>(at + size));
    return record;
}

Buffer DecodeBuffer(const std::vector<std::byte>& bytes, std::size_t at, std::size_t size) {
    Buffer buffer;
    buffer.header = Copied<WmiBufferHeader>(bytes, at, bytes.size());
    Require(buffer.header.BufferSize == size, "all buffers have one size");
    Require(buffer.header.SavedOffset >= 72 && buffer.header.SavedOffset <= size, "records are inside");
    Require(buffer.header.ReferenceCount == 0, "the buffer is not in use");
    const std::size_t end = at + buffer.header.SavedOffset;
    std::size_t offset = at + 72;
    while (offset < end) {
        buffer.records.push_back(DecodeRecord(bytes, offset, end));
        const std::size_t recordEnd = offset + buffer.records.back().header.PacketSize;
        offset += (buffer.records.back().header.PacketSize + std::size_t{7}) / 8 * 8;
        Require(offset <= end && AllAre(bytes, recordEnd, offset, std::byte{0}), "records are padded to 8");
    }
    Require(offset == end, "the saved offset is the end of the last record");
    Require(AllAre(bytes, end, at + size, std::byte{0xFF}), "the rest of a buffer is filled");
    return buffer;
}

} // namespace

std::vector<Record> Log::Events() const {
    std::vector<Record> events;
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        const auto& records = buffers[i].records;
        events.insert(events.end(), records.begin() + (i == 0 ? 1 : 0), records.end());
    }
    return events;
}

Log Decode(const std::vector<std::byte>& bytes) {
    const std::size_t size = Copied<WmiBufferHeader>(bytes, 0, bytes.size()).BufferSize;
    Require(size != 0 && bytes.size() % size == 0, "a log consists of complete buffers");
    Log log;
    for (std::size_t at = 0; at < bytes.size(); at += size) {
        log.buffers.push_back(DecodeBuffer(bytes, at, size));
    }
    Require(!log.buffers.front().records.empty(), "the first buffer has a record");
    const Record& first = log.buffers.front().records.front();
    Require(first.header.PacketGroup == 0 && first.header.PacketType == 0, "the log header comes first");
    log.header = Copied<TraceLogfileHeader>(first.payload, 0, first.payload.size());
    Require(log.header.PointerSize == 8, "the log is one of a 64-bit system");
    Require(log.header.BufferSize == size, "the log header has the size of the buffers");
    std::size_t offset = sizeof(TraceLogfileHeader);
    log.loggerName = TextWithTerminator(first.payload, offset);
    log.logFileName = TextWithTerminator(first.payload, offset);
    Require(offset == first.payload.size(), "nothing follows the names");
    return log;
}

RegistryPayload DecodeRegistry(const Record& record) {
    Require(record.header.PacketGroup == 9, "the event is one of the registry group");
    const std::vector<std::byte>& bytes = record.payload;
    RegistryPayload payload;
    payload.InitialTime = Copied<std::int64_t>(bytes, 0, bytes.size());
    payload.Status = Copied<std::uint32_t>(bytes, 8, bytes.size());
    payload.Index = Copied<std::uint32_t>(bytes, 12, bytes.size());
    payload.KeyHandle = Copied<std::uint64_t>(bytes, 16, bytes.size());
    std::size_t offset = 24;
    payload.KeyName = TextWithTerminator(bytes, offset);
    Require(offset == bytes.size(), "nothing follows the name");
    return payload;
}

ProcessPayload DecodeProcess(const Record& record) {
    Require(record.header.PacketGroup == 3, "the event is one of the process group");
    const std::vector<std::byte>& bytes = record.payload;
    ProcessPayload payload;
    payload.UniqueProcessKey = Copied<std::uint64_t>(bytes, 0, bytes.size());
    payload.ProcessId = Copied<std::uint32_t>(bytes, 8, bytes.size());
    payload.ParentId = Copied<std::uint32_t>(bytes, 12, bytes.size());
    payload.SessionId = Copied<std::uint32_t>(bytes, 16, bytes.size());
    payload.ExitStatus = Copied<std::int32_t>(bytes, 20, bytes.size());
    Require(Copied<std::uint32_t>(bytes, 24, bytes.size()) == 0, "there is no user");
    std::size_t offset = 28;
    while (bytes.at(offset) != std::byte{0}) {
        payload.ImageFileName += static_cast<char>(bytes[offset++]);
    }
    ++offset;
    Require(TextWithTerminator(bytes, offset).empty(), "there is no command line");
    Require(offset == bytes.size(), "nothing follows the command line");
    return payload;
}

} // namespace keyreap::independent
