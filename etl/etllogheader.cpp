#include "etl/etllogheader.h"

#include "etl/etllayout.h"
#include "platform/os/littleendian.h"

#include <algorithm>
#include <string_view>
#include <type_traits>

namespace keyreap {

namespace {

namespace layout = etl::logheader;

constexpr std::size_t TimeZoneAt(std::size_t pointers) {
    return layout::loggerName + 2 * pointers;
}

constexpr std::size_t TailAt(std::size_t pointers) {
    return etl::record::Aligned(TimeZoneAt(pointers) + layout::timeZoneSize);
}

constexpr std::size_t NamesAt(std::size_t pointers) {
    return TailAt(pointers) + layout::tailSize;
}

constexpr std::size_t unitSize = 2;
static_assert(NamesAt(4) == 272 && NamesAt(8) == 280);
static_assert(minimumLogHeaderSize == NamesAt(8) + 2 * unitSize);

// Calls an action with each field and its offset, both for reading and for writing.
template <typename Header, typename Action>
void ForEachField(Header& header, std::size_t pointers, Action action) {
    action(header.bufferSize, layout::bufferSize);
    action(header.majorVersion, layout::majorVersion);
    action(header.minorVersion, layout::minorVersion);
    action(header.subVersion, layout::subVersion);
    action(header.subMinorVersion, layout::subMinorVersion);
    action(header.providerVersion, layout::providerVersion);
    action(header.numberOfProcessors, layout::numberOfProcessors);
    action(header.endTime, layout::endTime);
    action(header.timerResolution, layout::timerResolution);
    action(header.maximumFileSize, layout::maximumFileSize);
    action(header.logFileMode, layout::logFileMode);
    action(header.buffersWritten, layout::buffersWritten);
    action(header.startBuffers, layout::startBuffers);
    action(header.pointerSize, layout::pointerSize);
    action(header.eventsLost, layout::eventsLost);
    action(header.cpuSpeedInMHz, layout::cpuSpeedInMHz);
    action(header.timeZoneBias, TimeZoneAt(pointers));
    action(header.bootTime, TailAt(pointers) + layout::bootTime);
    action(header.perfFreq, TailAt(pointers) + layout::perfFreq);
    action(header.startTime, TailAt(pointers) + layout::startTime);
    action(header.reservedFlags, TailAt(pointers) + layout::reservedFlags);
    action(header.buffersLost, TailAt(pointers) + layout::buffersLost);
}

// The pointer size that the payload states, or 0 if that is invalid or the payload is too short for it.
std::size_t PointersOf(std::span<const std::byte> payload) {
    if (payload.size() < NamesAt(4)) {
        return 0;
    }
    const auto pointers = LoadNumber<std::uint32_t>(payload, layout::pointerSize);
    const bool known = pointers == 4 || pointers == 8;
    return known && payload.size() >= NamesAt(pointers) ? pointers : 0;
}

// Takes one name and moves the offset past its terminator.
std::wstring TakeName(std::span<const std::byte> payload, std::size_t& offset) {
    std::wstring name;
    while (payload.size() - offset >= unitSize) {
        const auto unit = static_cast<wchar_t>(LoadNumber<std::uint16_t>(payload, offset));
        offset += unitSize;
        if (unit == L'\0') {
            break;
        }
        name += unit;
    }
    return name;
}

// Stores as much of a name as leaves `reserved` bytes after its terminator.
void PutName(std::wstring_view name, std::span<std::byte> room, std::size_t& offset, std::size_t reserved) {
    const std::size_t units = (room.size() - offset - reserved) / unitSize - 1;
    for (const wchar_t unit : name.substr(0, units)) {
        StoreNumber(room, offset, static_cast<std::uint16_t>(unit));
        offset += unitSize;
    }
    StoreNumber(room, offset, std::uint16_t{0});
    offset += unitSize;
}

} // namespace

std::optional<EtlLogHeader> ReadLogHeader(std::span<const std::byte> payload) {
    const std::size_t pointers = PointersOf(payload);
    if (pointers == 0) {
        return std::nullopt;
    }
    EtlLogHeader header;
    ForEachField(header, pointers, [&payload](auto& field, std::size_t offset) {
        field = LoadNumber<std::remove_reference_t<decltype(field)>>(payload, offset);
    });
    std::size_t offset = NamesAt(pointers);
    header.loggerName = TakeName(payload, offset);
    header.logFileName = TakeName(payload, offset);
    return header;
}

std::size_t WriteLogHeader(const EtlLogHeader& header, std::span<std::byte> room) {
    std::fill_n(room.begin(), NamesAt(8), std::byte{0});
    ForEachField(header, 8,
                 [&room](const auto& field, std::size_t offset) { StoreNumber(room, offset, field); });
    StoreNumber(room, layout::pointerSize, std::uint32_t{8});
    std::size_t offset = NamesAt(8);
    PutName(header.loggerName, room, offset, unitSize);
    PutName(header.logFileName, room, offset, 0);
    return offset;
}

} // namespace keyreap
