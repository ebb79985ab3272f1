#pragma once

#include "platform/core/exceptionkind.h"

#include <cstdint>
#include <string_view>

// How structured exceptions are named and classified. Codes and the layout of an access violation's
// information are those of EXCEPTION_RECORD as published for the platform.
namespace keyreap {

// "ACCESS_VIOLATION" and so on; empty for an unknown code.
std::wstring_view StructuredExceptionName(std::uint32_t code);

// attempt and address are the first two words of the exception's information; they count for an access
// violation only, which alone has a kind of its own.
SehKind ClassifyStructuredException(std::uint32_t code, std::uint64_t attempt, std::uint64_t address);

} // namespace keyreap
