#include "etl/etlrecord.h"

#include "etl/etlclasses.h"
#include "etl/etllayout.h"
#include "platform/os/littleendian.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace keyreap {

namespace {

enum class Family { unknown, system, perfInfo, classic, manifest };

// What the header type determines.
struct Form {
    Family family;
    std::size_t headerSize;
    std::uint8_t pointerSize;
};

constexpr bool IsLoggedByKernel(Family family) {
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

// Both ids as one number: a processor waits for two numbers that were written one by one and are read
// together.
void TakeOrigin(std::span<const std::byte> record, EtlEvent& event) {
    static_assert(etl::record::processId == etl::record::threadId + sizeof(event.threadId));
    const auto ids = LoadNumber<std::uint64_t>(record, etl::record::threadId);
    event.threadId = static_cast<std::uint32_t>(ids);
    event.processId = static_cast<std::uint32_t>(ids >> 32);
    event.timeStamp = LoadNumber<std::int64_t>(record, etl::record::timeStamp);
}

void TakeHook(std::span<const std::byte> record, EtlEvent& event) {
    const auto hookId = LoadNumber<std::uint16_t>(record, etl::kernelheader::hookId);
    event.guid = KernelClass(hookId);
    event.id = 0;
    event.type = static_cast<std::uint8_t>(hookId);
    event.level = 0;
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
    event.guid = LoadGuid(record, etl::classicheader::guid);
    event.id = 0;
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
    event.guid = LoadGuid(record, providerId);
    event.id = LoadNumber<std::uint16_t>(record, id);
    event.type = LoadNumber<std::uint8_t>(record, opcode);
    event.level = LoadNumber<std::uint8_t>(record, level);
    event.version = LoadNumber<std::uint8_t>(record, version);
}

// Reads the inside of a record that is as large as its header or larger. Gives where its payload begins, and
// 0 if the inside is damaged.
template <Form form>
std::size_t ReadInside(std::span<const std::byte> record, EtlEvent& event) {
    if constexpr (form.family == Family::system) {
        ReadSystem(record, event);
        return form.headerSize;
    } else if constexpr (form.family == Family::perfInfo) {
        ReadPerfInfo(record, event);
        return form.headerSize;
    } else if constexpr (form.family == Family::classic) {
        ReadClassic(record, event);
        return form.headerSize;
    } else if constexpr (form.family == Family::manifest) {
        ReadManifest(record, event);
        return PayloadOfManifest(record);
    } else {
        return 0;
    }
}

// Compiled for each form, so that the place of the size isn't computed: the next record is found only by it.
template <Form form>
EtlRecord ReadAs(std::span<const std::byte> bytes, EtlEvent& event) {
    constexpr std::size_t sizeAt =
        IsLoggedByKernel(form.family) ? etl::kernelheader::size : etl::record::marker;
    const std::size_t size = LoadNumber<std::uint16_t>(bytes, sizeAt);
    if (size < form.headerSize || size > bytes.size()) {
        return {EtlRecordKind::damaged, 0};
    }
    const std::span<const std::byte> record = bytes.first(size);
    event.pointerSize = form.pointerSize;
    const std::size_t payload = ReadInside<form>(record, event);
    event.payload = record.subspan(payload);
    return {payload != 0 ? EtlRecordKind::event : EtlRecordKind::skipped, size};
}

using Reader = EtlRecord (*)(std::span<const std::byte> bytes, EtlEvent& event);

// By header type.
constexpr std::array<Reader, 256> MakeReaders() {
    using namespace etl;
    std::array<Reader, 256> readers{};
    readers.fill(ReadAs<Form{Family::unknown, record::smallest, 0}>);
    readers[record::system32] = ReadAs<Form{Family::system, kernelheader::systemSize, 4}>;
    readers[record::system64] = ReadAs<Form{Family::system, kernelheader::systemSize, 8}>;
    readers[record::compact32] = ReadAs<Form{Family::system, kernelheader::compactSize, 4}>;
    readers[record::compact64] = ReadAs<Form{Family::system, kernelheader::compactSize, 8}>;
    readers[record::perfInfo32] = ReadAs<Form{Family::perfInfo, kernelheader::perfInfoSize, 4}>;
    readers[record::perfInfo64] = ReadAs<Form{Family::perfInfo, kernelheader::perfInfoSize, 8}>;
    readers[record::full32] = ReadAs<Form{Family::classic, classicheader::fullSize, 4}>;
    readers[record::full64] = ReadAs<Form{Family::classic, classicheader::fullSize, 8}>;
    readers[record::instance32] = ReadAs<Form{Family::classic, classicheader::instanceSize, 4}>;
    readers[record::instance64] = ReadAs<Form{Family::classic, classicheader::instanceSize, 8}>;
    readers[record::manifest32] = ReadAs<Form{Family::manifest, manifestheader::size, 4}>;
    readers[record::manifest64] = ReadAs<Form{Family::manifest, manifestheader::size, 8}>;
    return readers;
}
constexpr std::array<Reader, 256> readers = MakeReaders();

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
    return readers[static_cast<std::uint8_t>(mark >> 16)](bytes, event);
}

} // namespace keyreap
