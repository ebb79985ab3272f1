#pragma once

#include <cstdint>
#include <string_view>

namespace keyreap {

inline constexpr std::uint32_t statusObjectNameExists = 0x40000000; // ntstatus.h

// The NT status for a name or for hexadecimal digits, as the server's log has it; STATUS_UNSUCCESSFUL for an
// unknown name.
std::uint32_t ServerStatus(std::string_view text);

} // namespace keyreap
