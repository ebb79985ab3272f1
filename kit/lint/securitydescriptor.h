#pragma once

#include <cstdint>
#include <span>

// A security descriptor in one piece, as the registry has it (SECURITY_DESCRIPTOR_RELATIVE of winnt.h), and
// what it grants to everybody.
namespace keyreap {

enum class AccessOfEveryone {
    None,
    ThisMachine,   // to everybody who is logged on to the machine
    OtherMachines, // also from the network
    Unreadable,    // the data are no security descriptor
};

// Nothing outside the data is read.
AccessOfEveryone AccessOfEveryoneIn(std::span<const std::uint8_t> data);

} // namespace keyreap
