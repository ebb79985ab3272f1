#include "etl/etlreader.h"

#include "etl/etlclasses.h"
#include "etl/etllayout.h"
#include "etl/etlrecord.h"
#include "etl/etlring.h"
#include "platform/os/littleendian.h"

#include <algorithm>
#include <array>
#include <optional>

namespace keyreap {

namespace {

constexpr std::size_t chunkSize = std::size_t{256} * 1024; // fits into the cache of a core

bool IsPossibleBufferSize(std::uint32_t size) {
    return size != 0 && size <= etl::buffer::maximumSize && size % etl::buffer::sizeUnit == 0;
}

// The bytes of a buffer's records; nothing for a damaged buffer. With a saved offset of 0 the records
// themselves mark their end.
std::optional<std::span<const std::byte>> RecordsOf(std::span<const std::byte> buffer) {
    namespace layout = etl::buffer;
    const std::size_t saved = LoadNumber<std::uint32_t>(buffer, layout::savedOffset);
    const std::size_t end = saved == 0 ? buffer.size() : saved;
    const auto flags = LoadNumber<std::uint16_t>(buffer, layout::bufferFlag);
    if (LoadNumber<std::uint32_t>(buffer, layout::bufferSize) != buffer.size() || end < layout::headerSize ||
        end > buffer.size() || (flags & layout::flagCompressed) != 0) {
        return std::nullopt;
    }
    return buffer.subspan(layout::headerSize, end - layout::headerSize);
}

} // namespace

EtlReader::EtlReader(EtlSource& source) : source(source) {}

bool EtlReader::Open() {
    return ReadFirstBuffer() && TakeLogHeader();
}

// The first buffer states the size of every buffer.
bool EtlReader::ReadFirstBuffer() {
    std::array<std::byte, sizeof(std::uint32_t)> size;
    if (source.Size() < etl::buffer::headerSize || !source.Read(0, size)) {
        return false;
    }
    const auto stated = LoadNumber<std::uint32_t>(size, 0);
    if (!IsPossibleBufferSize(stated) || source.Size() < stated) {
        return false;
    }
    bufferSize = stated;
    bufferCount = source.Size() / bufferSize;
    chunk.resize(bufferSize);
    return source.Read(0, chunk);
}

bool EtlReader::TakeLogHeader() {
    const std::optional<std::span<const std::byte>> records = RecordsOf(chunk);
    EtlEvent event;
    if (!records || ReadEtlRecord(*records, event).kind != EtlRecordKind::event || !IsLogHeader(event)) {
        return false;
    }
    const std::optional<EtlLogHeader> read = ReadLogHeader(event.payload);
    if (!read) {
        return false;
    }
    header = *read;
    const std::uint64_t buffersAtOnce = std::max<std::size_t>(chunkSize / bufferSize, 1);
    chunk.resize(static_cast<std::size_t>(std::min(buffersAtOnce, bufferCount)) * bufferSize);
    return true;
}

bool EtlReader::Process(EtlListener& listener) {
    statistics = {};
    const bool circular = (header.logFileMode & etl::logheader::modeCircular) != 0;
    const std::uint64_t kept = std::clamp<std::uint64_t>(header.startBuffers, 1, bufferCount);
    const std::uint64_t oldest = circular ? OldestBuffer(source, bufferSize, kept, bufferCount) : kept;
    Step step = ProcessRange(0, kept, listener);
    if (step == Step::goOn) {
        step = ProcessRange(oldest, bufferCount, listener);
    }
    if (step == Step::goOn) {
        step = ProcessRange(kept, oldest, listener);
    }
    return step != Step::failed;
}

EtlReader::Step EtlReader::ProcessRange(std::uint64_t first, std::uint64_t end, EtlListener& listener) {
    const std::uint64_t buffersAtOnce = chunk.size() / bufferSize;
    while (first < end) {
        const auto count = static_cast<std::size_t>(std::min(buffersAtOnce, end - first));
        const std::span<std::byte> bytes(chunk.data(), count * bufferSize);
        if (!source.Read(first * bufferSize, bytes)) {
            return Step::failed;
        }
        for (std::size_t i = 0; i < count; ++i) {
            if (!ProcessBuffer(bytes.subspan(i * bufferSize, bufferSize), listener)) {
                return Step::stop;
            }
        }
        first += count;
    }
    return Step::goOn;
}

// False if the listener ends the reading.
bool EtlReader::ProcessBuffer(std::span<const std::byte> buffer, EtlListener& listener) {
    ++statistics.buffers;
    const std::optional<std::span<const std::byte>> records = RecordsOf(buffer);
    if (!records || !DeliverRecords(*records, listener)) {
        ++statistics.damagedBuffers;
    }
    return listener.OnBuffer();
}

// False if a damaged record ends them.
bool EtlReader::DeliverRecords(std::span<const std::byte> records, EtlListener& listener) {
    EtlEvent event;
    while (true) {
        const EtlRecord record = ReadEtlRecord(records, event);
        if (record.kind == EtlRecordKind::event) {
            ++statistics.events;
            listener.OnEvent(event);
        } else if (record.kind != EtlRecordKind::skipped) {
            return record.kind == EtlRecordKind::end;
        }
        records = records.subspan(std::min(etl::record::Aligned(record.size), records.size()));
    }
}

} // namespace keyreap
