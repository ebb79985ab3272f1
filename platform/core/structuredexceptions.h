#pragma once

#include "platform/core/exceptionkind.h"

#include <cstdint>
#include <string_view>

// The names and kinds of structured exceptions. Codes and the layout of an access violation's information are
// those of EXCEPTION_RECORD as published for the platform.
namespace keyreap {

// "ACCESS_VIOLATION" and so on; empty for an unknown code.
std::wstring_view StructuredExceptionName(std::uint32_t code);

// `attempt` and `address` are the first two words of the exception's information. Only an access violation
// uses them, since only it has kinds of its own.
SehKind ClassifyStructuredException(std::uint32_t code, std::uint64_t attempt, std::uint64_t address);

} // namespace keyreap
