#include "platform/core/structuredexceptions.h"

#include <gtest/gtest.h>

#include <array>

namespace keyreap {
namespace {

struct CodeName {
    std::uint32_t code;
    std::wstring_view name;
};

constexpr std::array codeNames = {
    CodeName{0x80000001, L"GUARD_PAGE"},
    CodeName{0x80000002, L"DATATYPE_MISALIGNMENT"},
    CodeName{0x80000003, L"BREAKPOINT"},
    CodeName{0x80000004, L"SINGLE_STEP"},
    CodeName{0xC0000005, L"ACCESS_VIOLATION"},
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

TEST(StructuredExceptionName, IsKnownForTheCodesOfTheSystem) {
    for (const CodeName& row : codeNames) {
        EXPECT_EQ(StructuredExceptionName(row.code), row.name);
    }
}

TEST(StructuredExceptionName, IsEmptyForEveryOtherCode) {
    EXPECT_EQ(StructuredExceptionName(0), L"");
    EXPECT_EQ(StructuredExceptionName(0xC0000007), L"");
    EXPECT_EQ(StructuredExceptionName(0x20474343), L"");
}

TEST(ClassifyStructuredException, DistinguishesTheAttemptAndNullFromOtherAddresses) {
    EXPECT_EQ(ClassifyStructuredException(0xC0000005, 0, 0), SehKind::SEH_AV_READ_NULLPTR);
    EXPECT_EQ(ClassifyStructuredException(0xC0000005, 0, 0x1000), SehKind::SEH_AV_READ_BADPTR);
    EXPECT_EQ(ClassifyStructuredException(0xC0000005, 1, 0), SehKind::SEH_AV_WRITE_NULLPTR);
    EXPECT_EQ(ClassifyStructuredException(0xC0000005, 1, 0x1000), SehKind::SEH_AV_WRITE_BADPTR);
    EXPECT_EQ(ClassifyStructuredException(0xC0000005, 8, 0), SehKind::SEH_AV_DEP_NULLPTR);
    EXPECT_EQ(ClassifyStructuredException(0xC0000005, 8, 0x1000), SehKind::SEH_AV_DEP_BADPTR);
}

TEST(ClassifyStructuredException, OnlyAddressZeroIsNull) {
    EXPECT_EQ(ClassifyStructuredException(0xC0000005, 0, 4), SehKind::SEH_AV_READ_BADPTR);
    EXPECT_EQ(ClassifyStructuredException(0xC0000005, 1, 1), SehKind::SEH_AV_WRITE_BADPTR);
}

TEST(ClassifyStructuredException, AnyOtherAttemptIsGeneric) {
    EXPECT_EQ(ClassifyStructuredException(0xC0000005, 2, 0), SehKind::SEH_GENERIC);
    EXPECT_EQ(ClassifyStructuredException(0xC0000005, 2, 0x1000), SehKind::SEH_GENERIC);
}

TEST(ClassifyStructuredException, EveryOtherCodeIsGeneric) {
    for (const CodeName& row : codeNames) {
        if (row.code != 0xC0000005) {
            EXPECT_EQ(ClassifyStructuredException(row.code, 1, 0), SehKind::SEH_GENERIC) << row.code;
        }
    }
}

} // namespace
} // namespace keyreap
