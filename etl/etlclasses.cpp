#include "etl/etlclasses.h"

#include <array>
#include <cstddef>

namespace keyreap {

namespace {

constexpr Guid NO_CLASS{};
constexpr std::uint16_t PROCESS_LOAD_IMAGE = 0x030A; // EVENT_TRACE_GROUP_PROCESS | EVENT_TRACE_TYPE_LOAD

// By group, from 0 on.
constexpr std::array<Guid, 0x1C> GROUP_CLASSES{{
    etlclass::eventTrace,   // 0x00
    etlclass::diskIo,       // 0x01
    etlclass::pageFault,    // 0x02
    etlclass::process,      // 0x03
    etlclass::fileIo,       // 0x04
    etlclass::thread,       // 0x05
    etlclass::tcpIp,        // 0x06
    NO_CLASS,               // 0x07
    etlclass::udpIp,        // 0x08
    etlclass::registry,     // 0x09
    NO_CLASS,               // 0x0A
    etlclass::systemConfig, // 0x0B
    NO_CLASS,               // 0x0C
    NO_CLASS,               // 0x0D
    NO_CLASS,               // 0x0E
    etlclass::perfInfo,     // 0x0F
    NO_CLASS,               // 0x10
    NO_CLASS,               // 0x11
    NO_CLASS,               // 0x12
    NO_CLASS,               // 0x13
    etlclass::image,        // 0x14
    NO_CLASS,               // 0x15
    NO_CLASS,               // 0x16
    NO_CLASS,               // 0x17
    etlclass::stackWalk,    // 0x18
    NO_CLASS,               // 0x19
    etlclass::alpc,         // 0x1A
    etlclass::splitIo,      // 0x1B
}};

} // namespace

const Guid& KernelClass(std::uint16_t hookId) {
    if (hookId == PROCESS_LOAD_IMAGE) {
        return etlclass::image;
    }
    const std::size_t group = hookId >> 8;
    return group < GROUP_CLASSES.size() ? GROUP_CLASSES[group] : NO_CLASS;
}

} // namespace keyreap
