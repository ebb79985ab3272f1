#include "tests/unit/replay/registrylogtest.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// Walking.

TEST_F(RegistryLogTest, AKeyOnlyOpenedOrReadIsNotReported) {
    Record({Open(L"A"), QueryValue(L"A", L"V"), KeyOperation(registryevent::queryKey, L"A")});
    EXPECT_THAT(Walk().order, IsEmpty());
}

TEST_F(RegistryLogTest, AKeyWithSubkeysAloneIsReportedOnlyForAnOutcomeOfItsOwn) {
    Record({Create(L"A\\B"), Create(L"C"), Create(L"C\\D")});
    EXPECT_THAT(Walk().keys,
                UnorderedElementsAre(KeyVisit{localMachineRoot, L"A\\B", Outcome::created, 0, 0},
                                     KeyVisit{localMachineRoot, L"C", Outcome::created, 0, 1},
                                     KeyVisit{localMachineRoot, L"C\\D", Outcome::created, 0, 0}));
}

TEST_F(RegistryLogTest, AKeyWithLastingValuesIsReportedWhateverItsOwnOutcome) {
    Record({Open(L"A"), SetValue(L"A", L"V"), DeleteValue(L"A", L"W"), QueryValue(L"A", L"R")});
    EXPECT_THAT(Walk().keys, ElementsAre(KeyVisit{localMachineRoot, L"A", Outcome::none, 2, 0}));
}

TEST_F(RegistryLogTest, ASubkeyThatWasOnlyOpenedCountsAsAChild) {
    Record({Create(L"A"), Open(L"A\\B")});
    EXPECT_THAT(Walk().keys, ElementsAre(KeyVisit{localMachineRoot, L"A", Outcome::created, 0, 1}));
}

TEST_F(RegistryLogTest, ValuesComeAfterTheirKeyAndDeletedOnesLast) {
    Record({DeleteValue(L"A", L"gone"), SetValue(L"A", L"kept"), QueryValue(L"A", L"read"), Create(L"A\\B")});
    EXPECT_THAT(Walk().order, ElementsAre(L"A", L"A : kept", L"A : gone", L"A\\B"));
}

TEST_F(RegistryLogTest, OfTheValuesOfAKeyTheNewestComesFirst) {
    Record({SetValue(L"A", L"1"), DeleteValue(L"A", L"x"), SetValue(L"A", L"2"), DeleteValue(L"A", L"y"),
            SetValue(L"A", L"1")});
    EXPECT_THAT(Walk().order, ElementsAre(L"A", L"A : 2", L"A : 1", L"A : y", L"A : x"));
}

TEST_F(RegistryLogTest, EveryDeletedValueComesAfterEverySetOne) {
    std::vector<RegistryOperation> operations;
    for (int i = 0; i < 50; ++i) {
        operations.push_back(SetValue(L"A", L"s" + std::to_wstring(i)));
        operations.push_back(DeleteValue(L"A", L"d" + std::to_wstring(i)));
    }
    Record(operations);
    const RecordingVisitor visits = Walk();
    ASSERT_EQ(visits.values.size(), 100u);
    for (std::size_t i = 0; i < 100; ++i) {
        EXPECT_EQ(visits.values[i].kind, i < 50 ? Outcome::set : Outcome::deleted);
    }
}

TEST_F(RegistryLogTest, KeysComeInTheOrderOfTheirFirstAppearance) {
    Record({Create(L"C"), Create(L"B\\2"), Create(L"A"), Create(L"B\\1"), Create(L"C\\x")});
    EXPECT_THAT(Walk().order, ElementsAre(L"C", L"C\\x", L"B\\2", L"B\\1", L"A"));
}

TEST_F(RegistryLogTest, AParentComesBeforeItsSubkeysAndASubtreeStaysTogether) {
    Record({Create(L"A\\B\\C"), Create(L"A\\B\\D"), Create(L"A\\B"), Create(L"E")});
    const std::vector<std::wstring> order = Walk().order;
    ASSERT_EQ(order.size(), 4u);
    const auto at = [&](std::wstring_view path) {
        return std::find(order.begin(), order.end(), path) - order.begin();
    };
    EXPECT_LT(at(L"A\\B"), at(L"A\\B\\C"));
    EXPECT_LT(at(L"A\\B"), at(L"A\\B\\D"));
    EXPECT_LE(std::max(at(L"A\\B\\C"), at(L"A\\B\\D")) - at(L"A\\B"), 2);
}

TEST_F(RegistryLogTest, AnEmptyNameAddsNoSecondBackslashToThePath) {
    Record({Create(L"A\\\\B"), Create(L"\\C")});
    EXPECT_THAT(Walk().order, UnorderedElementsAre(L"A\\B", L"C"));
}

TEST_F(RegistryLogTest, ThousandsOfLevelsNeedNoStack) {
    std::wstring path;
    for (int i = 0; i < 60000; ++i) {
        path += L"k\\";
    }
    Record({SetValue(path, L"V"), Create(path)});
    EXPECT_EQ(RegistryLog::CountValues(Existing(L"k")), 1u);
    EXPECT_EQ(Walk().keys.size(), 1u);
}

// Merging and pruning.

TEST_F(RegistryLogTest, MergedSubkeysReplaceWholeSubtreesOfTheTarget) {
    Record({SetValue(L"To\\Enum\\Old", L"V"), SetValue(L"To\\Enum", L"OfTarget"), Create(L"To\\Own"),
            SetValue(L"From\\ENUM\\New", L"W")});
    log.MergeSubkeys(Existing(L"To"), Existing(L"From"));
    EXPECT_EQ(Node(L"To\\Enum\\Old"), nullptr);
    EXPECT_EQ(RegistryLog::CountValues(Existing(L"To\\Enum")), 1u);
    EXPECT_NE(Node(L"To\\Enum\\New"), nullptr);
    EXPECT_NE(Node(L"To\\Own"), nullptr);
    EXPECT_EQ(Existing(L"To\\Enum").Name().text, L"ENUM");
    EXPECT_EQ(Existing(L"To\\Enum").Parent(), Node(L"To"));
}

TEST_F(RegistryLogTest, AMergeMovesEachOfManySubkeys) {
    std::vector<RegistryOperation> operations{Create(L"To\\K7\\Old"), Create(L"To\\Own")};
    for (int i = 0; i < 100; ++i) {
        operations.push_back(Create(L"From\\K" + std::to_wstring(i) + L"\\New"));
    }
    Record(operations);
    log.MergeSubkeys(Existing(L"To"), Existing(L"From"));
    EXPECT_EQ(Node(L"From"), nullptr);
    EXPECT_EQ(Node(L"To\\K7\\Old"), nullptr);
    EXPECT_NE(Node(L"To\\Own"), nullptr);
    for (int i = 0; i < 100; ++i) {
        const std::wstring path = L"To\\K" + std::to_wstring(i);
        EXPECT_NE(Node(path + L"\\New"), nullptr) << i;
        EXPECT_EQ(Existing(path).Parent(), &Existing(L"To")) << i;
    }
}

TEST_F(RegistryLogTest, KeysKeepTheOrderOfTheirFirstAppearanceWhenOthersAreMovedAndRemoved) {
    Record({Create(L"A"), Create(L"From"), Create(L"From\\1"), Create(L"From\\2"), Create(L"From\\3"),
            Create(L"B"), Create(L"To"), Create(L"To\\2"), Create(L"To\\Own"), Create(L"C")});
    log.MergeSubkeys(Existing(L"To"), Existing(L"From"));
    EXPECT_THAT(Walk().order, ElementsAre(L"A", L"B", L"To", L"To\\2", L"To\\Own", L"To\\1", L"To\\3", L"C"));
    log.PruneEmptyKey(localMachineRoot, L"B");
    log.PruneEmptyKey(localMachineRoot, L"To\\2");
    EXPECT_THAT(Walk().order, ElementsAre(L"A", L"To", L"To\\Own", L"To\\1", L"To\\3", L"C"));
}

TEST_F(RegistryLogTest, TheSourceOfAMergeIsRemovedWithItsOwnValuesAndOperations) {
    Record({Create(L"From"), SetValue(L"From", L"Lost"), Create(L"From\\A"), Create(L"To")});
    log.MergeSubkeys(Existing(L"To"), Existing(L"From"));
    EXPECT_EQ(Node(L"From"), nullptr);
    EXPECT_THAT(Walk().order, UnorderedElementsAre(L"To", L"To\\A"));
}

TEST_F(RegistryLogTest, PruningRemovesAKeyBelowWhichNoValueWasRecordedAndItsEmptyParents) {
    Record({Create(L"SYSTEM\\Current\\Services\\S"), Create(L"SYSTEM\\Current")});
    log.PruneEmptyKey(localMachineRoot, L"system\\current");
    EXPECT_EQ(Node(L"SYSTEM"), nullptr);
}

TEST_F(RegistryLogTest, PruningStopsAtAParentWithValues) {
    Record({QueryValue(L"A", L"V"), Create(L"A\\B\\C")});
    log.PruneEmptyKey(localMachineRoot, L"A\\B\\C");
    EXPECT_EQ(Node(L"A\\B"), nullptr);
    EXPECT_NE(Node(L"A"), nullptr);
}

TEST_F(RegistryLogTest, PruningStopsAtAParentWithAnotherSubkey) {
    Record({Create(L"A\\B"), Open(L"A\\C")});
    log.PruneEmptyKey(localMachineRoot, L"A\\B");
    EXPECT_EQ(Node(L"A\\B"), nullptr);
    EXPECT_NE(Node(L"A\\C"), nullptr);
}

TEST_F(RegistryLogTest, AParentsOwnOperationsDoNotSaveItFromPruning) {
    Record({Create(L"A"), Create(L"A\\B")});
    log.PruneEmptyKey(localMachineRoot, L"A\\B");
    EXPECT_EQ(Node(L"A"), nullptr);
}

TEST_F(RegistryLogTest, AValueThatWasOnlyReadBlocksThePrune) {
    Record({QueryValue(L"A\\B\\C", L"V"), Create(L"A\\B\\D")});
    log.PruneEmptyKey(localMachineRoot, L"A\\B");
    EXPECT_NE(Node(L"A\\B\\C"), nullptr);
    EXPECT_NE(Node(L"A\\B\\D"), nullptr);
    EXPECT_THAT(Walk().keys, ElementsAre(KeyVisit{localMachineRoot, L"A\\B\\D", Outcome::created, 0, 0}));
}

TEST_F(RegistryLogTest, PruningAnUnknownKeyOrARootLeavesTheRoot) {
    Record({Create(L"A")});
    log.PruneEmptyKey(localMachineRoot, L"B");
    EXPECT_NE(Node(L"A"), nullptr);
    log.PruneEmptyKey(localMachineRoot, L"");
    EXPECT_EQ(Node(L"A"), nullptr);
    EXPECT_NE(Node(L""), nullptr);
}

TEST_F(RegistryLogTest, CountsTheValuesOfAllLevelsWhateverTheirOutcome) {
    Record({QueryValue(L"A", L"1"), SetValue(L"A\\B", L"2"), DeleteValue(L"A\\B\\C", L"3"),
            SetValue(L"A\\B\\C", L"4"), SetValue(L"Z", L"5")});
    EXPECT_EQ(RegistryLog::CountValues(Existing(L"A")), 4u);
}

} // namespace
} // namespace keyreap
