#pragma once

#include <cstdint>
#include <string_view>

namespace keyreap {

// Statuses of ntstatus.h.
inline constexpr std::uint32_t statusObjectNameExists = 0x40000000;
inline constexpr std::uint32_t statusPredefinedHandle = 0x40000016;
inline constexpr std::uint32_t statusUnsuccessful = 0xC0000001;

// The NT status behind the name or the hexadecimal digits with which the server's log tells it;
// STATUS_UNSUCCESSFUL for a name that requests about keys don't get.
std::uint32_t ServerStatus(std::string_view text);

} // namespace keyreap
