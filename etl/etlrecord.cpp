#include "etl/etlrecord.h"

#include "etl/etlclasses.h"
#include "etl/etllayout.h"
#include "platform/os/littleendian.h"

#include <algorithm>
#include <cstring>

namespace keyreap {

namespace {

enum class Family { unknown, system, perfInfo, classic, manifest };

// What the header type determines.
struct Form {
    Family family = Family::unknown;
    std::size_t headerSize = etl::record::smallest;
    std::uint8_t pointerSize = 0;
};

Form FormOf(std::uint8_t headerType) {
    using namespace etl;
    switch (headerType) {
    case record::system32:
        return {Family::system, kernelheader::systemSize, 4};
    case record::system64:
        return {Family::system, kernelheader::systemSize, 8};
    case record::compact32:
        return {Family::system, kernelheader::compactSize, 4};
    case record::compact64:
        return {Family::system, kernelheader::compactSize, 8};
    case record::perfInfo32:
        return {Family::perfInfo, kernelheader::perfInfoSize, 4};
    case record::perfInfo64:
        return {Family::perfInfo, kernelheader::perfInfoSize, 8};
    case record::full32:
        return {Family::classic, classicheader::fullSize, 4};
    case record::full64:
        return {Family::classic, classicheader::fullSize, 8};
    case record::instance32:
        return {Family::classic, classicheader::instanceSize, 4};
    case record::instance64:
        return {Family::classic, classicheader::instanceSize, 8};
    case record::manifest32:
        return {Family::manifest, manifestheader::size, 4};
    case record::manifest64:
        return {Family::manifest, manifestheader::size, 8};
    default:
        return {};
    }
}

bool IsLoggedByKernel(Family family) {
    return family == Family::system || family == Family::perfInfo;
}

Guid LoadGuid(std::span<const std::byte> bytes, std::size_t offset) {
    Guid guid;
    guid.data1 = LoadNumber<std::uint32_t>(bytes, offset);
    guid.data2 = LoadNumber<std::uint16_t>(bytes, offset + 4);
    guid.data3 = LoadNumber<std::uint16_t>(bytes, offset + 6);
    std::memcpy(guid.data4.data(), bytes.data() + offset + 8, guid.data4.size());
    return guid;
}

void TakeOrigin(std::span<const std::byte> record, EtlEvent& event) {
    event.threadId = LoadNumber<std::uint32_t>(record, etl::record::threadId);
    event.processId = LoadNumber<std::uint32_t>(record, etl::record::processId);
    event.timeStamp = LoadNumber<std::int64_t>(record, etl::record::timeStamp);
}

void TakeHook(std::span<const std::byte> record, EtlEvent& event) {
    const auto hookId = LoadNumber<std::uint16_t>(record, etl::kernelheader::hookId);
    event.provider = KernelClass(hookId);
    event.type = static_cast<std::uint8_t>(hookId);
    event.version = LoadNumber<std::uint16_t>(record, etl::record::marker);
}

void ReadSystem(std::span<const std::byte> record, EtlEvent& event) {
    TakeHook(record, event);
    TakeOrigin(record, event);
}

void ReadPerfInfo(std::span<const std::byte> record, EtlEvent& event) {
    TakeHook(record, event);
    event.threadId = etl::record::noId;
    event.processId = etl::record::noId;
    event.timeStamp = LoadNumber<std::int64_t>(record, etl::kernelheader::perfInfoTimeStamp);
}

void ReadClassic(std::span<const std::byte> record, EtlEvent& event) {
    using namespace etl::classicheader;
    TakeOrigin(record, event);
    event.provider = LoadGuid(record, guid);
    event.type = LoadNumber<std::uint8_t>(record, type);
    event.level = LoadNumber<std::uint8_t>(record, level);
    event.version = LoadNumber<std::uint16_t>(record, version);
}

// Where the payload of a manifest event begins: after its extended items, if any. 0 if they exceed the
// record.
std::size_t PayloadOfManifest(std::span<const std::byte> record) {
    namespace manifestheader = etl::manifestheader;
    namespace extendeditem = etl::extendeditem;
    std::size_t offset = manifestheader::size;
    const auto flags = LoadNumber<std::uint16_t>(record, manifestheader::flags);
    bool another = (flags & manifestheader::flagExtendedInfo) != 0;
    while (another) {
        if (record.size() - offset < extendeditem::headerSize) {
            return 0;
        }
        const std::size_t dataSize = LoadNumber<std::uint16_t>(record, offset + extendeditem::dataSize);
        another = (LoadNumber<std::uint16_t>(record, offset + extendeditem::linkage) & 1) != 0;
        const std::size_t size = extendeditem::headerSize + dataSize;
        if (size > record.size() - offset) {
            return 0;
        }
        // The last item of an event without payload may end with the record, unpadded.
        offset = std::min(offset + etl::record::Aligned(size), record.size());
    }
    return offset;
}

void ReadManifest(std::span<const std::byte> record, EtlEvent& event) {
    using namespace etl::manifestheader;
    TakeOrigin(record, event);
    event.provider = LoadGuid(record, providerId);
    event.id = LoadNumber<std::uint16_t>(record, id);
    event.type = LoadNumber<std::uint8_t>(record, opcode);
    event.level = LoadNumber<std::uint8_t>(record, level);
    event.version = LoadNumber<std::uint8_t>(record, version);
}

// Reads a record that is as large as its header or larger. False if its inside is damaged.
bool ReadEvent(const Form& form, std::span<const std::byte> record, EtlEvent& event) {
    event = {};
    event.pointerSize = form.pointerSize;
    std::size_t payload = form.headerSize;
    switch (form.family) {
    case Family::system:
        ReadSystem(record, event);
        break;
    case Family::perfInfo:
        ReadPerfInfo(record, event);
        break;
    case Family::classic:
        ReadClassic(record, event);
        break;
    case Family::manifest:
        ReadManifest(record, event);
        payload = PayloadOfManifest(record);
        break;
    case Family::unknown:
        return false;
    }
    event.payload = record.subspan(payload);
    return payload != 0;
}

} // namespace

EtlRecord ReadEtlRecord(std::span<const std::byte> bytes, EtlEvent& event) {
    using namespace etl::record;
    if (bytes.size() < smallest) {
        return {EtlRecordKind::end, 0};
    }
    const auto mark = LoadNumber<std::uint32_t>(bytes, marker);
    if (mark == noRecord || mark == fillerRecord) {
        return {EtlRecordKind::end, 0};
    }
    if ((mark & headerFlag) == 0) {
        return {EtlRecordKind::damaged, 0};
    }
    const Form form = FormOf(static_cast<std::uint8_t>(mark >> 16));
    const std::size_t sizeAt = IsLoggedByKernel(form.family) ? etl::kernelheader::size : marker;
    const std::size_t size = LoadNumber<std::uint16_t>(bytes, sizeAt);
    if (size < form.headerSize || size > bytes.size()) {
        return {EtlRecordKind::damaged, 0};
    }
    const bool readable = ReadEvent(form, bytes.first(size), event);
    return {readable ? EtlRecordKind::event : EtlRecordKind::skipped, size};
}

} // namespace keyreap
