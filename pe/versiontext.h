#pragma once

#include <cstdint>
#include <string>

namespace keyreap {

// A file version as four decimal numbers with dots, the high half of each field first.
std::wstring FileVersionText(std::uint32_t mostSignificant, std::uint32_t leastSignificant);

// The block of a version resource that contains the company name for a language and a code page, both as four
// lower-case hexadecimal digits.
std::wstring CompanyNameBlock(std::uint16_t language, std::uint16_t codePage);

} // namespace keyreap
