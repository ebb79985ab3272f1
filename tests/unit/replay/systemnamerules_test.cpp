#include "tests/support/allocationcount.h"
#include "trace/replay/registrylog.h"
#include "trace/replay/systemnamerules.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(SystemNameRules, FoldLettersOfEveryScript) {
    std::wstring text = L"CLSID \u00C4\u0416\u03A9 [_]\\";
    SystemNameRules().Fold(text);
    EXPECT_EQ(text, L"clsid \u00E4\u0436\u03C9 [_]\\");
}

TEST(SystemNameRules, FoldingAnEmptyTextIsHarmless) {
    std::wstring text;
    SystemNameRules().Fold(text);
    EXPECT_EQ(text, L"");
}

TEST(SystemNameRules, NamesAreEqualInAnyCase) {
    const SystemNameRules rules;
    EXPECT_TRUE(rules.AreEqual(L"InprocServer32", L"INPROCSERVER32"));
    EXPECT_TRUE(rules.AreEqual(L"\u00C4rger", L"\u00E4RGER"));
    EXPECT_FALSE(rules.AreEqual(L"InprocServer32", L"InprocServer"));
}

TEST(SystemNameRules, ComparisonEndsAtTheEndOfEachName) {
    // A look-up passes a part of a longer path.
    const std::wstring_view path = L"CLSID\\Sub";
    EXPECT_TRUE(SystemNameRules().AreEqual(path.substr(0, 5), L"clsid"));
}

TEST(SystemNameRules, EqualNamesWithDifferentFoldedFormsAreTwoKeys) {
    const SystemNameRules rules;
    RegistryLog log(rules);
    // lstrcmpiW ignores a soft hyphen; the folded forms, and so their hashes, differ.
    EXPECT_NE(&log.GetOrAddNode(localMachineRoot, L"softhyphen"),
              &log.GetOrAddNode(localMachineRoot, L"soft\u00ADhyphen"));
    EXPECT_NE(&log.GetOrAddNode(localMachineRoot, L"strasse"),
              &log.GetOrAddNode(localMachineRoot, L"stra\u00DFe"));
}

TEST(SystemNameRules, ALookUpInAnotherCaseAllocatesNothing) {
    const SystemNameRules rules;
    RegistryLog log(rules);
    RegistryLogNode& node = log.GetOrAddNode(classesRoot, L"CLSID\\{AAAAAAAA-0000-0000}");
    EXPECT_EQ(&log.GetOrAddNode(classesRoot, L"clsid\\{aaaaaaaa-0000-0000}"), &node);
    const std::size_t before = AllocationCount();
    EXPECT_EQ(&log.GetOrAddNode(classesRoot, L"CLSid\\{AAAAaaaa-0000-0000}"), &node);
    EXPECT_EQ(AllocationCount(), before);
}

} // namespace
} // namespace keyreap
