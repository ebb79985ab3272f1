#pragma once

#include <cstdint>
#include <string>

namespace keyreap {

// An exception's code in words: "access violation (0xC0000005)", or "exception 0xE0000001" for an unknown
// code.
std::string ExceptionWords(std::uint32_t code);

// True if the processor itself raises exceptions of this code, at the instruction that failed.
bool IsFault(std::uint32_t code);

} // namespace keyreap
