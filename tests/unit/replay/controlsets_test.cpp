#include "tests/support/letterfoldingnamerules.h"
#include "trace/replay/controlsets.h"

#include <gtest/gtest.h>

#include <string>

namespace keyreap {
namespace {

const std::wstring temporary = L"Software\\Velmoro\\Tesselink\\Temporary\\";
const std::wstring temporaryControlSet = temporary + L"HKLM\\SYSTEM\\CurrentControlSet";

class ControlSetsTest : public testing::Test {
protected:
    void AddKey(std::wstring_view path, PredefinedRoot root = localMachineRoot) {
        log.GetOrAddNode(root, path);
    }

    void AddValue(std::wstring_view path, std::wstring_view name, PredefinedRoot root = localMachineRoot) {
        log.GetOrAddValue(log.GetOrAddNode(root, path), name);
    }

    bool Has(std::wstring_view path, PredefinedRoot root = localMachineRoot) {
        return log.FindNode(root, path) != nullptr;
    }

    LetterFoldingNameRules rules;
    RegistryLog log{rules};
};

TEST_F(ControlSetsTest, OperationsUnderANumberedSetCountForTheCurrentOne) {
    AddValue(L"SYSTEM\\ControlSet001\\Services\\S", L"Start");
    AddValue(L"SYSTEM\\ControlSet002\\Control\\C", L"V");
    FoldControlSets(log);
    EXPECT_TRUE(Has(L"SYSTEM\\CurrentControlSet\\Services\\S"));
    EXPECT_TRUE(Has(L"SYSTEM\\CurrentControlSet\\Control\\C"));
    EXPECT_FALSE(Has(L"SYSTEM\\ControlSet001"));
    EXPECT_FALSE(Has(L"SYSTEM\\ControlSet002"));
}

TEST_F(ControlSetsTest, OfTwoNumberedSetsTheSecondOnesSubkeyReplacesTheFirstOnes) {
    AddValue(L"SYSTEM\\CurrentControlSet\\Services\\Current", L"V");
    AddValue(L"SYSTEM\\ControlSet002\\Services\\Second", L"V");
    AddValue(L"SYSTEM\\ControlSet001\\Services\\First", L"V");
    FoldControlSets(log);
    EXPECT_TRUE(Has(L"SYSTEM\\CurrentControlSet\\Services\\Second"));
    EXPECT_FALSE(Has(L"SYSTEM\\CurrentControlSet\\Services\\First"));
    EXPECT_FALSE(Has(L"SYSTEM\\CurrentControlSet\\Services\\Current"));
}

TEST_F(ControlSetsTest, ANumberedSetsOwnValuesAreDropped) {
    AddValue(L"SYSTEM\\ControlSet001", L"Own");
    FoldControlSets(log);
    EXPECT_TRUE(Has(L"SYSTEM\\CurrentControlSet"));
    EXPECT_EQ(RegistryLog::CountValues(*log.FindNode(localMachineRoot, L"")), 0u);
}

TEST_F(ControlSetsTest, WithoutNumberedSetsNoNodeIsCreated) {
    AddKey(L"SYSTEM\\Setup");
    FoldControlSets(log);
    EXPECT_FALSE(Has(L"SYSTEM\\CurrentControlSet"));
}

TEST_F(ControlSetsTest, OnlyTheMachinesOwnSetsAreFolded) {
    AddValue(L"SYSTEM\\ControlSet001\\S", L"V", currentUserRoot);
    FoldControlSets(log);
    EXPECT_TRUE(Has(L"SYSTEM\\ControlSet001\\S", currentUserRoot));
}

TEST_F(ControlSetsTest, ASetWithoutValuesIsPrunedWithAllOfSystemThatHasNothingElse) {
    AddKey(L"SYSTEM\\ControlSet001\\Services\\S");
    FoldControlSets(log);
    PruneControlSets(log, false, temporary);
    EXPECT_FALSE(Has(L"SYSTEM"));
}

TEST_F(ControlSetsTest, ASetWithAValueSurvivesThePrune) {
    AddValue(L"SYSTEM\\ControlSet001\\Services\\S", L"Start");
    AddKey(L"SYSTEM\\ControlSet001\\Services\\T");
    FoldControlSets(log);
    PruneControlSets(log, false, temporary);
    EXPECT_TRUE(Has(L"SYSTEM\\CurrentControlSet\\Services\\S"));
    EXPECT_TRUE(Has(L"SYSTEM\\CurrentControlSet\\Services\\T"));
}

TEST_F(ControlSetsTest, WithRedirectedRootsTheSetInTheTemporaryTreeIsPrunedToo) {
    AddKey(temporaryControlSet + L"\\S", currentUserRoot);
    AddKey(L"SYSTEM\\CurrentControlSet\\S");
    PruneControlSets(log, true, temporary);
    EXPECT_FALSE(Has(temporaryControlSet, currentUserRoot));
    EXPECT_FALSE(Has(L"SYSTEM\\CurrentControlSet"));
}

TEST_F(ControlSetsTest, WithoutRedirectionTheTemporaryTreeIsLeftAlone) {
    AddKey(temporaryControlSet + L"\\S", currentUserRoot);
    PruneControlSets(log, false, temporary);
    EXPECT_TRUE(Has(temporaryControlSet + L"\\S", currentUserRoot));
}

} // namespace
} // namespace keyreap
