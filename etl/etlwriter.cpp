#include "etl/etlwriter.h"

#include "etl/etllayout.h"
#include "etl/payload.h"
#include "platform/os/littleendian.h"

#include <algorithm>
#include <utility>

namespace keyreap {

namespace {

constexpr std::uint64_t megabyte = 1024 * 1024;
constexpr std::uint32_t keptBuffers = 1;   // the one with the log header
constexpr std::uint64_t smallestCount = 2; // the kept one and one that is overwritten

constexpr std::uint32_t SystemMarker() {
    return etl::record::headerFlag | etl::record::eventTraceFlag |
           std::uint32_t{etl::record::system64} << 16 | etl::kernelheader::eventVersion;
}

std::size_t PayloadSize(const EtlRegistryEvent& event) {
    return etl::registry::keyName + 2 * (event.keyName.size() + 1);
}

void FillPayload(const EtlRegistryEvent& event, std::span<std::byte> payload) {
    using namespace etl::registry;
    StoreNumber(payload, initialTime, event.initialTime);
    StoreNumber(payload, status, event.status);
    StoreNumber(payload, index, event.index);
    StoreNumber(payload, keyHandle, event.keyHandle);
    StoreUnits(payload, keyName, event.keyName);
    StoreNumber(payload, keyName + 2 * event.keyName.size(), std::uint16_t{0});
}

std::size_t PayloadSize(const EtlProcessStart& start) {
    constexpr std::size_t imageTerminator = 1;
    constexpr std::size_t commandLineTerminator = 2;
    return etl::process::userSid + etl::process::noSidSize + start.imageName.size() + imageTerminator +
           commandLineTerminator;
}

void FillPayload(const EtlProcessStart& start, std::span<std::byte> payload) {
    using namespace etl::process;
    constexpr wchar_t lastOfAscii = 0x7F;
    std::ranges::fill(payload, std::byte{0});
    StoreNumber(payload, processId, start.processId);
    StoreNumber(payload, parentId, start.parentId);
    std::size_t offset = userSid + noSidSize;
    for (const wchar_t unit : start.imageName) {
        payload[offset++] = static_cast<std::byte>(unit > lastOfAscii ? L'?' : unit);
    }
}

} // namespace

EtlWriter::EtlWriter(EtlSink& sink, EtlLogHeader logHeader)
    : sink(sink), header(std::move(logHeader)), buffer(header.bufferSize) {
    header.startBuffers = keptBuffers;
    header.buffersWritten = 0;
    header.endTime = 0;
}

bool EtlWriter::Begin(std::int64_t time, std::uint32_t processId, std::uint32_t threadId) {
    beginning = {time, processId, threadId};
    lastTime = time;
    header.buffersWritten = keptBuffers;
    const bool written = WriteHeaderBuffer();
    bufferNumber = keptBuffers;
    StartBuffer();
    return written;
}

bool EtlWriter::Write(const EtlRegistryEvent& event) {
    const auto hookId = static_cast<std::uint16_t>(etl::registry::group | event.type);
    const std::span<std::byte> payload =
        BeginEvent({event.time, event.processId, event.threadId}, hookId, PayloadSize(event));
    if (!payload.empty()) {
        FillPayload(event, payload);
    }
    return !failed;
}

// The process that starts another one is that of the event.
bool EtlWriter::Write(const EtlProcessStart& start) {
    constexpr std::uint16_t hookId = etl::process::group | etl::process::start;
    const std::span<std::byte> payload =
        BeginEvent({start.time, start.parentId, etl::record::noId}, hookId, PayloadSize(start));
    if (!payload.empty()) {
        FillPayload(start, payload);
    }
    return !failed;
}

// The room for an event's payload; empty if the event is lost.
std::span<std::byte> EtlWriter::BeginEvent(const Origin& origin, std::uint16_t hookId,
                                           std::size_t payloadSize) {
    const std::size_t size = etl::kernelheader::systemSize + payloadSize;
    if (size > etl::record::largest || size > buffer.size() - etl::buffer::headerSize) {
        ++header.eventsLost;
        return {};
    }
    if (size > buffer.size() - used && !FlushEvents(0)) {
        return {};
    }
    lastTime = origin.time;
    return BeginRecord(origin, hookId, payloadSize);
}

bool EtlWriter::Finish(std::int64_t endTime) {
    if (used > etl::buffer::headerSize) {
        FlushEvents(etl::buffer::flagFlushMarker);
    }
    header.endTime = endTime;
    bufferNumber = 0;
    return WriteHeaderBuffer();
}

bool EtlWriter::IsCircular() const {
    return (header.logFileMode & etl::logheader::modeCircular) != 0 && header.maximumFileSize != 0;
}

// After the kept buffers, the file has room for some that are overwritten in turn.
std::uint64_t EtlWriter::PlaceOf(std::uint64_t number) const {
    if (number < keptBuffers || !IsCircular()) {
        return number;
    }
    const std::uint64_t limit = header.maximumFileSize * megabyte / header.bufferSize;
    const std::uint64_t rotating = std::max(limit, smallestCount) - keptBuffers;
    return keptBuffers + (number - keptBuffers) % rotating;
}

void EtlWriter::StartBuffer() {
    used = etl::buffer::headerSize;
    std::fill_n(buffer.begin(), used, std::byte{0});
}

// Adds a record's header and returns the room for its payload. The buffer must have room for both.
std::span<std::byte> EtlWriter::BeginRecord(const Origin& origin, std::uint16_t hookId,
                                            std::size_t payloadSize) {
    namespace layout = etl::kernelheader;
    const std::size_t size = layout::systemSize + payloadSize;
    const std::span<std::byte> bytes(buffer.data() + used, size);
    StoreNumber(bytes, etl::record::marker, SystemMarker());
    StoreNumber(bytes, layout::size, static_cast<std::uint16_t>(size));
    StoreNumber(bytes, layout::hookId, hookId);
    StoreNumber(bytes, etl::record::threadId, origin.threadId);
    StoreNumber(bytes, etl::record::processId, origin.processId);
    StoreNumber(bytes, etl::record::timeStamp, origin.time);
    StoreNumber(bytes, layout::kernelAndUserTime, std::uint64_t{0});
    const std::size_t end = used + etl::record::Aligned(size); // buffers are a multiple of the alignment
    std::fill(buffer.begin() + static_cast<std::ptrdiff_t>(used + size),
              buffer.begin() + static_cast<std::ptrdiff_t>(end), std::byte{0});
    used = end;
    return bytes.subspan(layout::systemSize);
}

bool EtlWriter::Flush(std::uint16_t type, std::uint16_t flags, std::int64_t time) {
    namespace layout = etl::buffer;
    const auto end = static_cast<std::uint32_t>(used);
    StoreNumber(buffer, layout::bufferSize, header.bufferSize);
    StoreNumber(buffer, layout::savedOffset, end);
    StoreNumber(buffer, layout::currentOffset, end);
    StoreNumber(buffer, layout::timeStamp, time);
    StoreNumber(buffer, layout::sequenceNumber, bufferNumber);
    StoreNumber(buffer, layout::state, layout::stateFlush);
    StoreNumber(buffer, layout::offset, end);
    StoreNumber(buffer, layout::bufferFlag, flags);
    StoreNumber(buffer, layout::bufferType, type);
    std::fill(buffer.begin() + static_cast<std::ptrdiff_t>(used), buffer.end(),
              std::byte{etl::record::fillerByte});
    failed = failed || !sink.Write(PlaceOf(bufferNumber) * header.bufferSize, buffer);
    return !failed;
}

bool EtlWriter::FlushEvents(std::uint16_t flags) {
    const bool loses = header.eventsLost != lostInBuffers;
    lostInBuffers = header.eventsLost;
    const auto allFlags = static_cast<std::uint16_t>(flags | (loses ? etl::buffer::flagEventsLost : 0));
    const bool written = Flush(etl::buffer::typeGeneric, allFlags, lastTime);
    ++header.buffersWritten;
    ++bufferNumber;
    StartBuffer();
    return written;
}

// Written at the start, so that the log has a header, and again at the end with the final numbers.
bool EtlWriter::WriteHeaderBuffer() {
    std::vector<std::byte> payload(
        std::min<std::size_t>(buffer.size() - etl::buffer::headerSize, etl::record::largest) -
        etl::kernelheader::systemSize);
    payload.resize(WriteLogHeader(header, payload));
    StartBuffer();
    std::ranges::copy(payload,
                      BeginRecord(beginning, etl::kernelheader::logHeaderHook, payload.size()).begin());
    return Flush(etl::buffer::typeHeader, etl::buffer::flagFlushMarker, 0);
}

} // namespace keyreap
