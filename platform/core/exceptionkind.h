#pragma once

#include <cstdint>
#include <string_view>

namespace keyreap {

// The kind of failure that an exception object reports. No object has EXCEPTION_STD, a foreign exception of
// the standard library, or EXCEPTION_UNHANDLED, a failure that reached the process-wide filter. Nothing here
// raises the two kinds between EXCEPTION_WIN32 and EXCEPTION_SEH.
enum class ExceptionKind : std::int32_t {
    EXCEPTION_STD = 0,
    EXCEPTION_UNHANDLED = 1,
    EXCEPTION_GENERIC = 2,
    EXCEPTION_WIN32 = 3,
    EXCEPTION_CMD = 4,
    EXCEPTION_XML_PARSE = 5,
    EXCEPTION_SEH = 6,
};

// The exact kind of a structured exception: for an access violation the attempt, and whether the address was
// 0.
enum class SehKind : std::int32_t {
    SEH_GENERIC = 0,
    SEH_AV_READ_NULLPTR = 1,
    SEH_AV_READ_BADPTR = 2,
    SEH_AV_WRITE_NULLPTR = 3,
    SEH_AV_WRITE_BADPTR = 4,
    SEH_AV_DEP_NULLPTR = 5,
    SEH_AV_DEP_BADPTR = 6,
};

// The kind's name, spelled as its constant; "Exception ???" for an invalid value.
std::wstring_view ExceptionKindName(ExceptionKind kind);

// The kind's name, spelled as its constant; "SEH_GENERIC" for an invalid value.
std::wstring_view SehKindName(SehKind kind);

} // namespace keyreap
