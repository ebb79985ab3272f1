#include "etl/etlclasses.h"

#include <array>
#include <cstddef>

namespace keyreap {

namespace {

constexpr Guid noClass{};
constexpr std::uint16_t processLoadImage = 0x030A; // EVENT_TRACE_GROUP_PROCESS | EVENT_TRACE_TYPE_LOAD

// By group, from 0 on.
constexpr std::array<Guid, 0x1C> groupClasses{{
    etlclass::eventTrace,   // 0x00
    etlclass::diskIo,       // 0x01
    etlclass::pageFault,    // 0x02
    etlclass::process,      // 0x03
    etlclass::fileIo,       // 0x04
    etlclass::thread,       // 0x05
    etlclass::tcpIp,        // 0x06
    noClass,                // 0x07
    etlclass::udpIp,        // 0x08
    etlclass::registry,     // 0x09
    noClass,                // 0x0A
    etlclass::systemConfig, // 0x0B
    noClass,                // 0x0C
    noClass,                // 0x0D
    noClass,                // 0x0E
    etlclass::perfInfo,     // 0x0F
    noClass,                // 0x10
    noClass,                // 0x11
    noClass,                // 0x12
    noClass,                // 0x13
    etlclass::image,        // 0x14
    noClass,                // 0x15
    noClass,                // 0x16
    noClass,                // 0x17
    etlclass::stackWalk,    // 0x18
    noClass,                // 0x19
    etlclass::alpc,         // 0x1A
    etlclass::splitIo,      // 0x1B
}};

} // namespace

const Guid& KernelClass(std::uint16_t hookId) {
    if (hookId == processLoadImage) {
        return etlclass::image;
    }
    const std::size_t group = hookId >> 8;
    return group < groupClasses.size() ? groupClasses[group] : noClass;
}

} // namespace keyreap
