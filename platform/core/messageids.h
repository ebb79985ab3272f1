#pragma once

#include <cstdint>

// The identifiers of the program's string table; messages.rc contains the texts under the same numbers.
namespace keyreap::messageid {

// The short text of the error dialog.
inline constexpr std::uint32_t unhandledFailure = 65001;

// The text file writer got no bytes for a text.
inline constexpr std::uint32_t conversionFailed = 65010;

// The text file writer has no open file; insert 1 is the path.
inline constexpr std::uint32_t fileNotOpen = 65013;

// The text file writer could not write; insert 1 is the path.
inline constexpr std::uint32_t writeFailed = 65014;

} // namespace keyreap::messageid
