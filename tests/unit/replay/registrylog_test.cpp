#include "tests/support/allocationcount.h"
#include "tests/unit/replay/registrylogtest.h"

#include <gmock/gmock.h>

namespace keyreap {
namespace {

using testing::_;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;

constexpr std::uint32_t nameNotFound = 0xC0000034;
constexpr std::uint32_t accessDenied = 0xC0000022;

// The recorded operations.

TEST_F(RegistryLogTest, AFailedOperationLeavesNoTrace) {
    Record({Open(L"A", accessDenied), SetValue(L"B", L"V", accessDenied), Create(L"C", accessDenied),
            Delete(L"D", nameNotFound), Open(L"E", nameNotFound)});
    for (const wchar_t* path : {L"A", L"B", L"C", L"D", L"E"}) {
        EXPECT_EQ(Node(path), nullptr) << path;
    }
}

TEST_F(RegistryLogTest, ACreateThatFailedWithNameNotFoundCountsAsACreate) {
    Record({Create(L"A", nameNotFound)});
    EXPECT_EQ(OutcomeOf(L"A"), Outcome::created);
    EXPECT_THAT(OperationsOn(L"A").Entries(), ElementsAre(FieldsAre(_, nameNotFound, _, _)));
}

TEST_F(RegistryLogTest, AnOperationWithoutAKeyNameIsDropped) {
    Record({SetValue(L"", L"V")});
    EXPECT_EQ(RegistryLog::CountValues(Existing(L"")), 0u);
}

TEST_F(RegistryLogTest, AnEntryKeepsWhatHappenedInTheOrderOfTheEvents) {
    RegistryOperation operation = SetValue(L"A", L"V");
    operation.initialTime = 77;
    operation.processId = 4711;
    Record({operation, QueryValue(L"A", L"V")});
    EXPECT_THAT(OperationsOn(L"A", L"V").Entries(),
                ElementsAre(FieldsAre(14U, 0U, 77, 4711U), FieldsAre(16U, 0U, 0, 0U)));
}

TEST_F(RegistryLogTest, OperationsInManyPiecesAreRecordedInTheirOrder) {
    RecordedOperations operations;
    for (int i = 0; i < 5000; ++i) {
        operations.list.Add(i % 2 == 0 ? Create(L"A\\B") : Delete(L"A\\B"));
        operations.list.Add(SetValue(L"A\\" + std::to_wstring(i % 7), L"V"));
    }
    log.RecordOperations(std::move(operations));
    EXPECT_EQ(OutcomeOf(L"A\\B"), Outcome::none);
    EXPECT_EQ(OperationsOn(L"A\\B").Size(), 5000u);
    EXPECT_EQ(RegistryLog::CountValues(Existing(L"A")), 7u);
}

TEST_F(RegistryLogTest, TheTextsOfTakenOperationsLiveAsLongAsTheLog) {
    for (const std::wstring_view key : {L"First", L"Second"}) {
        RecordedOperations operations;
        RegistryOperation operation = SetValue({}, {});
        operation.keyPath = operations.paths.Keep(key);
        operation.valueName = operations.valueNames.Keep(L"Value");
        operations.list.Add(operation);
        log.RecordOperations(std::move(operations));
    }
    for (const wchar_t* const key : {L"First", L"Second"}) {
        EXPECT_EQ(Existing(key).Name().text, key);
        EXPECT_EQ(OperationsOn(key, L"Value").Size(), 1U);
    }
}

TEST_F(RegistryLogTest, TheTextsOfOtherOperationsAreCopied) {
    std::wstring key = L"Key";
    std::wstring value = L"Value";
    RegistryOperation operation = SetValue({}, {});
    operation.keyPath = key;
    operation.valueName = value;
    log.RecordOperations(std::span(&operation, 1));
    key = L"xxx";
    value = L"xxxxx";
    EXPECT_EQ(Existing(L"Key").Name().text, L"Key");
    EXPECT_EQ(OperationsOn(L"Key", L"Value").Size(), 1U);
}

TEST_F(RegistryLogTest, OperationsThatShareTheTextOfANameAreOnTheirOwnValues) {
    const std::vector<std::wstring> names = {L"", L"Name", L"NAME", L"Other", L"", L"Name"};
    std::vector<RegistryOperation> operations;
    for (const wchar_t* const key : {L"A", L"B", L"A"}) {
        for (const std::wstring& name : names) {
            operations.push_back(SetValue(key, L""));
            operations.back().valueName = name; // one text for all keys
        }
    }
    Record(operations);
    for (const wchar_t* const name : {L"", L"Name", L"Other"}) {
        const std::size_t times = *name == L'O' ? 1 : *name == L'N' ? 3 : 2;
        EXPECT_EQ(OperationsOn(L"A", name).Size(), 2 * times);
        EXPECT_EQ(OperationsOn(L"B", name).Size(), times);
    }
    EXPECT_EQ(RegistryLog::CountValues(Existing(L"")), 6u);
}

TEST_F(RegistryLogTest, NoValueTakesTheOperationsOfAnotherWhereverTheirNamesAre) {
    // Names of one length side by side, and names of each length that begin at one place.
    std::wstring texts;
    for (int i = 1000; i < 1200; ++i) {
        texts += std::to_wstring(i);
    }
    std::vector<RegistryOperation> operations;
    for (std::size_t i = 0; i < 200; ++i) {
        operations.push_back(SetValue(L"A", L""));
        operations.back().valueName = std::wstring_view(texts).substr(4 * i, 4);
        operations.push_back(SetValue(L"B", L""));
        operations.back().valueName = std::wstring_view(texts).substr(0, i);
    }
    for (int repetition = 0; repetition < 2; ++repetition) {
        Record(operations);
    }
    EXPECT_EQ(Existing(L"A").Values().Size(), 200u);
    EXPECT_EQ(Existing(L"B").Values().Size(), 200u);
    for (int i = 1000; i < 1200; ++i) {
        EXPECT_EQ(OperationsOn(L"A", std::to_wstring(i)).Size(), 2u);
    }
    for (std::size_t i = 0; i < 200; ++i) {
        EXPECT_EQ(OperationsOn(L"B", texts.substr(0, i)).Size(), 2u);
    }
}

TEST_F(RegistryLogTest, AnOperationWithoutATextForItsNameIsOnTheDefaultValue) {
    RegistryOperation operation = SetValue(L"A", L"");
    operation.valueName = {};
    Record({operation, SetValue(L"A", L"")});
    EXPECT_EQ(Existing(L"A").Values().Size(), 1u);
    EXPECT_EQ(OperationsOn(L"A", L"").Size(), 2u);
}

// Outcomes.

TEST_F(RegistryLogTest, CreateThenDeleteHasNoOutcome) {
    Record({Create(L"A"), Delete(L"A")});
    EXPECT_EQ(OutcomeOf(L"A"), Outcome::none);
    EXPECT_THAT(Walk().keys, IsEmpty());
}

TEST_F(RegistryLogTest, DeletingWhatTheTargetDidNotCreateStaysADeletion) {
    Record({Open(L"A"), Delete(L"A")});
    EXPECT_EQ(OutcomeOf(L"A"), Outcome::deleted);
    EXPECT_THAT(Walk().keys, ElementsAre(KeyVisit{localMachineRoot, L"A", Outcome::deleted, 0, 0}));
}

TEST_F(RegistryLogTest, ASecondDeleteStaysADeletion) {
    Record({Delete(L"A"), Delete(L"A")});
    EXPECT_EQ(OutcomeOf(L"A"), Outcome::deleted);
}

TEST_F(RegistryLogTest, ADeleteAfterACancelledPairIsADeletion) {
    Record({Create(L"A"), Delete(L"A"), Delete(L"A")});
    EXPECT_EQ(OutcomeOf(L"A"), Outcome::deleted);
}

TEST_F(RegistryLogTest, DeleteThenCreateIsACreation) {
    Record({Delete(L"A"), Create(L"A")});
    EXPECT_EQ(OutcomeOf(L"A"), Outcome::created);
}

TEST_F(RegistryLogTest, SetThenDeleteOfAValueHasNoOutcomeButTheValueIsCounted) {
    Record({SetValue(L"A", L"V"), DeleteValue(L"A", L"V")});
    EXPECT_EQ(OutcomeOfValue(L"A", L"V"), Outcome::none);
    EXPECT_EQ(RegistryLog::CountValues(Existing(L"A")), 1u);
    EXPECT_THAT(Walk().keys, IsEmpty());
}

TEST_F(RegistryLogTest, DeleteThenSetOfAValueIsSet) {
    Record({DeleteValue(L"A", L"V"), SetValue(L"A", L"V")});
    EXPECT_EQ(OutcomeOfValue(L"A", L"V"), Outcome::set);
}

TEST_F(RegistryLogTest, EveryOtherOperationLeavesTheOutcomeAsItIs) {
    std::vector<RegistryOperation> operations{Create(L"A")};
    for (std::uint8_t type = registryevent::createKey; type <= registryevent::querySecurity; ++type) {
        if (type != registryevent::createKey && type != registryevent::deleteKey && !ConcernsValue(type)) {
            operations.push_back(KeyOperation(type, L"A"));
            operations.push_back(KeyOperation(type, L"B"));
        }
    }
    operations.push_back(QueryValue(L"A", L"V"));
    Record(operations);
    EXPECT_EQ(OutcomeOf(L"A"), Outcome::created);
    EXPECT_EQ(OutcomeOf(L"B"), Outcome::none);
    EXPECT_EQ(OutcomeOfValue(L"A", L"V"), Outcome::none);
}

// Names and nodes.

TEST_F(RegistryLogTest, OneKeyInTwoSpellingsIsOneNodeWithTheFirstSpelling) {
    Record({Create(L"Software\\X"), Open(L"SOFTWARE\\x"), SetValue(L"software\\X", L"Val"),
            SetValue(L"Software\\X", L"VAL")});
    const RecordingVisitor visits = Walk();
    EXPECT_THAT(visits.keys, ElementsAre(KeyVisit{localMachineRoot, L"Software\\X", Outcome::created, 1, 0}));
    EXPECT_THAT(visits.values, ElementsAre(ValueVisit{L"Software\\X", L"Val", Outcome::set}));
    EXPECT_EQ(Existing(L"Software\\X").Operations().Entries().size(), 2u);
}

TEST_F(RegistryLogTest, EachRootHasItsOwnSlotAndUnknownRootsShareTheMachines) {
    Record({KeyOperation(registryevent::createKey, L"M", 0, localMachineRoot),
            KeyOperation(registryevent::createKey, L"U", 0, currentUserRoot),
            KeyOperation(registryevent::createKey, L"C", 0, classesRoot),
            KeyOperation(registryevent::createKey, L"All", 0, usersRoot),
            KeyOperation(registryevent::createKey, L"S-1-5-18", 0, noRoot)});
    EXPECT_NE(Node(L"M", localMachineRoot), nullptr);
    EXPECT_NE(Node(L"U", currentUserRoot), nullptr);
    EXPECT_NE(Node(L"C", classesRoot), nullptr);
    EXPECT_NE(Node(L"All", usersRoot), nullptr);
    EXPECT_NE(Node(L"S-1-5-18", localMachineRoot), nullptr);
    EXPECT_EQ(Node(L"U", localMachineRoot), nullptr);
}

TEST_F(RegistryLogTest, TheWalkTakesTheRootsInTheOrderOfTheirSlots) {
    Record({KeyOperation(registryevent::createKey, L"4", 0, usersRoot),
            KeyOperation(registryevent::createKey, L"3", 0, classesRoot),
            KeyOperation(registryevent::createKey, L"2", 0, currentUserRoot),
            KeyOperation(registryevent::createKey, L"1", 0, noRoot)});
    EXPECT_THAT(Walk().keys, ElementsAre(KeyVisit{localMachineRoot, L"1", Outcome::created, 0, 0},
                                         KeyVisit{currentUserRoot, L"2", Outcome::created, 0, 0},
                                         KeyVisit{classesRoot, L"3", Outcome::created, 0, 0},
                                         KeyVisit{usersRoot, L"4", Outcome::created, 0, 0}));
}

TEST_F(RegistryLogTest, AnEmptyPathFindsTheRootsNode) {
    EXPECT_EQ(Existing(L"").Parent(), nullptr);
    EXPECT_EQ(Existing(L"").Name().text, L"");
}

TEST_F(RegistryLogTest, ATrailingBackslashAddsNothing) {
    EXPECT_EQ(&log.GetOrAddNode(localMachineRoot, L"A\\B"), &log.GetOrAddNode(localMachineRoot, L"A\\B\\"));
}

TEST_F(RegistryLogTest, TwoBackslashesMakeAComponentWithAnEmptyName) {
    const RegistryLogNode& node = log.GetOrAddNode(localMachineRoot, L"A\\\\B");
    EXPECT_EQ(node.Name().text, L"B");
    EXPECT_EQ(node.Parent()->Name().text, L"");
    EXPECT_EQ(node.Parent()->Parent()->Name().text, L"A");
}

TEST_F(RegistryLogTest, AMissingComponentEndsASearch) {
    Record({Create(L"A")});
    EXPECT_EQ(Node(L"A\\B\\C"), nullptr);
    EXPECT_EQ(Node(L"A\\B"), nullptr);
}

TEST_F(RegistryLogTest, PathsThatShareTheirFrontLeadToTheirOwnKeys) {
    const std::vector<std::wstring> paths = {L"A\\B\\C",    L"A\\B\\Cc", L"A\\B\\",    L"A\\Bb",
                                             L"A\\B\\c\\D", L"A",        L"A\\\\B\\C", L"A\\\\",
                                             L"A\\",        L"A\\B\\C",  L"a\\b",      L"Aa\\B"};
    std::vector<RegistryOperation> operations;
    for (const std::wstring& path : paths) {
        operations.push_back(Create(path));
    }
    operations.push_back(KeyOperation(registryevent::createKey, L"Aa\\B", 0, usersRoot));
    Record(operations);
    const auto operationsOf = [this](std::wstring_view path, PredefinedRoot root = localMachineRoot) {
        return Existing(path, root).Operations().Entries().size();
    };
    EXPECT_EQ(operationsOf(L"A"), 2U);
    EXPECT_EQ(operationsOf(L"A\\B"), 2U);
    EXPECT_EQ(operationsOf(L"A\\B\\C"), 2U);
    EXPECT_EQ(operationsOf(L"A\\B\\Cc"), 1U);
    EXPECT_EQ(operationsOf(L"A\\B\\C\\D"), 1U);
    EXPECT_EQ(operationsOf(L"A\\Bb"), 1U);
    EXPECT_EQ(operationsOf(L"A\\\\"), 1U);
    EXPECT_EQ(operationsOf(L"A\\\\B\\C"), 1U);
    EXPECT_EQ(operationsOf(L"Aa\\B"), 1U);
    EXPECT_EQ(operationsOf(L"Aa\\B", usersRoot), 1U);
}

TEST_F(RegistryLogTest, APathLeadsToItsOwnKeyWhateverPathCameBefore) {
    const std::vector<std::wstring> paths = {L"A",  L"A\\",  L"A\\\\", L"A\\\\B", L"A\\B",      L"A\\B\\",
                                             L"\\", L"\\\\", L"\\\\A", L"\\A",    L"A\\B\\\\C", L"A\\b\\\\"};
    for (const std::wstring& before : paths) {
        for (const std::wstring& path : paths) {
            RegistryLog together(rules);
            const std::vector<RegistryOperation> operations = {Create(before), Create(path)};
            together.RecordOperations(operations);
            const RegistryLogNode* const first = together.FindNode(localMachineRoot, before);
            const RegistryLogNode* const second = together.FindNode(localMachineRoot, path);
            ASSERT_NE(second, nullptr) << before << L" then " << path;
            EXPECT_EQ(second->Operations().Size(), first == second ? 2U : 1U) << before << L" then " << path;
        }
    }
}

TEST_F(RegistryLogTest, ALookUpThatHitsAllocatesNothing) {
    const std::wstring path = L"Software\\Classes\\CLSID\\{00000000-0000-0000-0000-000000000000}";
    const std::wstring otherCase = L"SOFTWARE\\CLASSES\\clsid\\{00000000-0000-0000-0000-000000000000}";
    const std::wstring valueName = L"A value name beyond any small buffer";
    RegistryLogNode& node = log.GetOrAddNode(classesRoot, path);
    log.GetOrAddValue(node, valueName);
    const std::size_t before = AllocationCount();
    // Often enough that memory kept for each look-up would exceed what the arena has reserved.
    for (int i = 0; i < 10'000; ++i) {
        ASSERT_EQ(&log.GetOrAddNode(classesRoot, path), &node);
        ASSERT_EQ(&log.GetOrAddNode(classesRoot, otherCase), &node);
        log.GetOrAddValue(node, valueName);
    }
    EXPECT_EQ(AllocationCount(), before);
}

} // namespace
} // namespace keyreap
