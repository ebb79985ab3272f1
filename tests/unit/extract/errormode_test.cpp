#include "extract/errormode.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace keyreap {
namespace {

// Restores the process's mode at its end.
class ErrorMode : public testing::Test {
protected:
    ~ErrorMode() override { SetErrorMode(before); }

    static UINT ModeAfter(UINT inherited) {
        SetErrorMode(inherited);
        SuppressErrorBoxes();
        // GoogleTest has set this flag, which can't be cleared again on Windows.
        return GetErrorMode() & ~static_cast<UINT>(SEM_NOALIGNMENTFAULTEXCEPT);
    }

private:
    UINT before = GetErrorMode();
};

TEST_F(ErrorMode, CriticalErrorsAndMissingFilesShowNoBox) {
    EXPECT_EQ(ModeAfter(0), 0x8001U);
    EXPECT_EQ(ModeAfter(0x8001), 0x8001U);
}

TEST_F(ErrorMode, WhatWasInheritedStays) {
    EXPECT_EQ(ModeAfter(0x0002), 0x8003U);
}

} // namespace
} // namespace keyreap
