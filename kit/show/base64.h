#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace keyreap {

// RFC 4648, section 4.
std::string Base64Of(std::span<const std::uint8_t> bytes);

} // namespace keyreap
