#pragma once

#include <cstdint>
#include <string_view>

namespace keyreap {

inline constexpr std::uint32_t statusObjectNameExists = 0x40000000; // ntstatus.h

// The NT status behind the name or the hexadecimal digits with which the server's log tells it;
// STATUS_UNSUCCESSFUL for a name that requests about keys don't get.
std::uint32_t ServerStatus(std::string_view text);

} // namespace keyreap
