#include "platform/os/file/executablepath.h"
#include "tests/support/temporaryfolder.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(GetExecutablePath, NamesTheRunningProgram) {
    const WidePath path = GetExecutablePath();
    EXPECT_EQ(path.FileName(), L"unit_file.exe");
    EXPECT_EQ(testsupport::FileBytes(path.Text()).substr(0, 2), "MZ");
}

} // namespace
} // namespace keyreap
