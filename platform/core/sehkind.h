#pragma once

#include <cstdint>
#include <string_view>

// How structured exceptions are named and classified. Codes and the layout of an access violation's
// information are those of EXCEPTION_RECORD as published for the platform.
namespace keyreap {

enum class SehKind : std::int32_t {
    SEH_GENERIC = 0,
    SEH_AV_READ_NULLPTR = 1,
    SEH_AV_READ_BADPTR = 2,
    SEH_AV_WRITE_NULLPTR = 3,
    SEH_AV_WRITE_BADPTR = 4,
    SEH_AV_DEP_NULLPTR = 5,
    SEH_AV_DEP_BADPTR = 6,
};

// The enumerator's own name; "SEH_GENERIC" for every value that is not in the list.
std::wstring_view SehKindName(SehKind kind);

// "ACCESS_VIOLATION" and so on; empty for an unknown code.
std::wstring_view StructuredExceptionName(std::uint32_t code);

// attempt and address are the first two words of the exception's information; they count for an access
// violation only, which alone has a kind of its own.
SehKind ClassifyStructuredException(std::uint32_t code, std::uint64_t attempt, std::uint64_t address);

} // namespace keyreap
