#include "platform/os/winehost.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(RunsOnWine, ReportsWhetherNtdllExportsWinesVersion) {
    const bool exported = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
    EXPECT_EQ(RunsOnWine(), exported);
}

} // namespace
} // namespace keyreap
