#pragma once

#include "regmodel/regentry.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace keyreap {

// Where a file isn't a .reg file.
struct RegReadError {
    std::size_t line = 1;   // both from 1
    std::size_t column = 1; // in units
    std::wstring expected;
};

// file:line:column: expected ...
std::wstring ErrorText(std::wstring_view file, const RegReadError& error);

// Reads a whole file: those that Keyreap writes, that regedit exports, and that people write. Reading ends at
// the first error. Time and memory are proportional to the file's size.
std::variant<RegDocument, RegReadError> ReadRegDocument(std::span<const std::uint8_t> bytes);

} // namespace keyreap
