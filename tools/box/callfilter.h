#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace keyreap {

// A step of a filter of system calls; the layout is that of sock_filter in the kernel's header
// linux/filter.h.
struct FilterStep {
    std::uint16_t code;
    std::uint8_t ifTrue;
    std::uint8_t ifFalse;
    std::uint32_t value;
};

// The system calls that a box refuses (seccomp): those of other machine modes than the 64-bit one, through
// which Wine makes all of its own; those that would reach the machine past the namespaces (the kernel's keys,
// sockets of other families, events of the processor); those whose memory no process shows; further user
// namespaces; and modes that make a file run as its owner.
std::vector<FilterStep> RefusedCalls();

// The same as the bytes that bwrap reads.
std::string RefusedCallBytes();

} // namespace keyreap
