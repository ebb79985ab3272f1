#pragma once

#include <cstdint>
#include <string>

namespace keyreap {

// An exception's code in words: "access violation (0xC0000005)", or "exception 0xE0000001" for a code that
// has none.
std::string ExceptionWords(std::uint32_t code);

// Whether the processor raises an exception of this code itself, at the instruction that failed.
bool IsFault(std::uint32_t code);

} // namespace keyreap
