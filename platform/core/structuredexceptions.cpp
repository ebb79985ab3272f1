#include "platform/core/structuredexceptions.h"

#include <algorithm>
#include <array>

namespace keyreap {

namespace {

constexpr std::uint32_t accessViolation = 0xC0000005;

struct CodeName {
    std::uint32_t code;
    std::wstring_view name;
};

constexpr std::array codeNames = {
    CodeName{0x80000001, L"GUARD_PAGE"},
    CodeName{0x80000002, L"DATATYPE_MISALIGNMENT"},
    CodeName{0x80000003, L"BREAKPOINT"},
    CodeName{0x80000004, L"SINGLE_STEP"},
    CodeName{accessViolation, L"ACCESS_VIOLATION"},
    CodeName{0xC0000006, L"IN_PAGE_ERROR"},
    CodeName{0xC0000008, L"INVALID_HANDLE"},
    CodeName{0xC000001D, L"ILLEGAL_INSTRUCTION"},
    CodeName{0xC0000025, L"NONCONTINUABLE_EXCEPTION"},
    CodeName{0xC0000026, L"INVALID_DISPOSITION"},
    CodeName{0xC000008C, L"ARRAY_BOUNDS_EXCEEDED"},
    CodeName{0xC000008D, L"FLT_DENORMAL_OPERAND"},
    CodeName{0xC000008E, L"FLT_DIVIDE_BY_ZERO"},
    CodeName{0xC000008F, L"FLT_INEXACT_RESULT"},
    CodeName{0xC0000090, L"FLT_INVALID_OPERATION"},
    CodeName{0xC0000091, L"FLT_OVERFLOW"},
    CodeName{0xC0000092, L"FLT_STACK_CHECK"},
    CodeName{0xC0000093, L"FLT_UNDERFLOW"},
    CodeName{0xC0000094, L"INT_DIVIDE_BY_ZERO"},
    CodeName{0xC0000095, L"INT_OVERFLOW"},
    CodeName{0xC0000096, L"PRIV_INSTRUCTION"},
    CodeName{0xC00000FD, L"STACK_OVERFLOW"},
};

struct AccessKind {
    std::uint64_t attempt;
    SehKind atNull;
    SehKind elsewhere;
};

constexpr std::array accessKinds = {
    AccessKind{0, SehKind::SEH_AV_READ_NULLPTR, SehKind::SEH_AV_READ_BADPTR},
    AccessKind{1, SehKind::SEH_AV_WRITE_NULLPTR, SehKind::SEH_AV_WRITE_BADPTR},
    AccessKind{8, SehKind::SEH_AV_DEP_NULLPTR, SehKind::SEH_AV_DEP_BADPTR},
};

} // namespace

std::wstring_view StructuredExceptionName(std::uint32_t code) {
    const auto row = std::ranges::find(codeNames, code, &CodeName::code);
    return row == codeNames.end() ? std::wstring_view() : row->name;
}

SehKind ClassifyStructuredException(std::uint32_t code, std::uint64_t attempt, std::uint64_t address) {
    const auto row = std::ranges::find(accessKinds, attempt, &AccessKind::attempt);
    if (code != accessViolation || row == accessKinds.end()) {
        return SehKind::SEH_GENERIC;
    }
    // Only address 0 is the null pointer: a field of a null object counts as a bad pointer.
    return address == 0 ? row->atNull : row->elsewhere;
}

} // namespace keyreap
