#include "extract/startmodules.h"
#include "tests/support/importreplacement.h"

#include <commctrl.h>

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::ImportReplacement;

INITCOMMONCONTROLSEX asked;

BOOL WINAPI NoteControls(const INITCOMMONCONTROLSEX* controls) {
    asked = *controls;
    return FALSE;
}

TEST(LoadStartModules, RequestsTheControlClassesAndLoadsBothModulesWhateverTheResult) {
    const ImportReplacement replacement("InitCommonControlsEx", reinterpret_cast<const void*>(&NoteControls));
    LoadStartModules();
    EXPECT_EQ(asked.dwSize, 8U);
    EXPECT_EQ(asked.dwICC, 0x0F04U);
    EXPECT_NE(GetModuleHandleW(L"IPHLPAPI.DLL"), nullptr);
    EXPECT_NE(GetModuleHandleW(L"MPR.DLL"), nullptr);
}

} // namespace
} // namespace keyreap
