#include "tests/support/allocationcount.h"
#include "tests/support/letterfoldingnamerules.h"
#include "trace/replay/registrylog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace keyreap {
namespace {

using testing::_;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr std::uint32_t nameNotFound = 0xC0000034;
constexpr std::uint32_t accessDenied = 0xC0000022;

// A copy of a text that lives as long as the tests.
std::wstring_view Kept(std::wstring_view text) {
    static Arena texts;
    return texts.Keep(text);
}

RegistryOperation KeyOperation(std::uint8_t type, std::wstring_view path, std::uint32_t status = 0,
                               PredefinedRoot root = localMachineRoot) {
    RegistryOperation operation;
    operation.type = type;
    operation.root = root;
    operation.keyPath = Kept(path);
    operation.status = status;
    return operation;
}

RegistryOperation ValueOperation(std::uint8_t type, std::wstring_view path, std::wstring_view name,
                                 std::uint32_t status = 0) {
    RegistryOperation operation = KeyOperation(type, path, status);
    operation.valueName = Kept(name);
    return operation;
}

RegistryOperation Create(std::wstring_view path, std::uint32_t status = 0) {
    return KeyOperation(registryevent::createKey, path, status);
}
RegistryOperation Open(std::wstring_view path, std::uint32_t status = 0) {
    return KeyOperation(registryevent::openKey, path, status);
}
RegistryOperation Delete(std::wstring_view path, std::uint32_t status = 0) {
    return KeyOperation(registryevent::deleteKey, path, status);
}
RegistryOperation SetValue(std::wstring_view path, std::wstring_view name, std::uint32_t status = 0) {
    return ValueOperation(registryevent::setValue, path, name, status);
}
RegistryOperation DeleteValue(std::wstring_view path, std::wstring_view name) {
    return ValueOperation(registryevent::deleteValue, path, name);
}
RegistryOperation QueryValue(std::wstring_view path, std::wstring_view name) {
    return ValueOperation(registryevent::queryValue, path, name);
}

struct KeyVisit {
    PredefinedRoot root;
    std::wstring path;
    Outcome state;
    std::uint32_t valueCount;
    std::uint32_t childCount;

    friend bool operator==(const KeyVisit&, const KeyVisit&) = default;
    friend std::ostream& operator<<(std::ostream& out, const KeyVisit& visit) {
        return out << testing::PrintToString(visit.path) << " outcome " << static_cast<int>(visit.state)
                   << ", " << visit.valueCount << " values, " << visit.childCount << " subkeys";
    }
};

struct ValueVisit {
    std::wstring path;
    std::wstring name;
    Outcome kind;

    friend bool operator==(const ValueVisit&, const ValueVisit&) = default;
    friend std::ostream& operator<<(std::ostream& out, const ValueVisit& visit) {
        return out << testing::PrintToString(visit.path) << " value " << testing::PrintToString(visit.name)
                   << " outcome " << static_cast<int>(visit.kind);
    }
};

class RecordingVisitor : public RegistryLogVisitor {
public:
    void OnKey(PredefinedRoot root, const std::wstring& keyPath, Outcome keyState, std::uint32_t valueCount,
               std::uint32_t childCount) override {
        keys.push_back({root, keyPath, keyState, valueCount, childCount});
        order.push_back(keyPath);
    }

    void OnValue(PredefinedRoot, const std::wstring& keyPath, const std::wstring& valueName,
                 Outcome kind) override {
        values.push_back({keyPath, valueName, kind});
        order.push_back(keyPath + L" : " + valueName);
    }

    std::vector<KeyVisit> keys;
    std::vector<ValueVisit> values;
    std::vector<std::wstring> order;
};

class RegistryLogTest : public testing::Test {
protected:
    void Record(std::vector<RegistryOperation> operations) { log.RecordOperations(operations); }

    RegistryLogNode* Node(std::wstring_view path, PredefinedRoot root = localMachineRoot) {
        return log.FindNode(root, path);
    }

    RecordingVisitor Walk() const {
        RecordingVisitor visitor;
        log.Walk(visitor);
        return visitor;
    }

    // A node that must exist: the test fails if it is missing.
    RegistryLogNode& Existing(std::wstring_view path, PredefinedRoot root = localMachineRoot) {
        EXPECT_NE(Node(path, root), nullptr) << testing::PrintToString(std::wstring(path));
        return log.GetOrAddNode(root, path);
    }

    const OperationList& OperationsOn(std::wstring_view path) { return Existing(path).Operations(); }

    const OperationList& OperationsOn(std::wstring_view path, std::wstring_view name) {
        return log.GetOrAddValue(Existing(path), name).Operations();
    }

    Outcome OutcomeOf(std::wstring_view path) { return OperationsOn(path).NetOutcome(); }

    Outcome OutcomeOfValue(std::wstring_view path, std::wstring_view name) {
        return OperationsOn(path, name).NetOutcome();
    }

    LetterFoldingNameRules rules;
    RegistryLog log{rules};
};

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
    EXPECT_NE(nullptr, Node(L"M", localMachineRoot));
    EXPECT_NE(nullptr, Node(L"U", currentUserRoot));
    EXPECT_NE(nullptr, Node(L"C", classesRoot));
    EXPECT_NE(nullptr, Node(L"All", usersRoot));
    EXPECT_NE(nullptr, Node(L"S-1-5-18", localMachineRoot));
    EXPECT_EQ(nullptr, Node(L"U", localMachineRoot));
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
    EXPECT_EQ(nullptr, Node(L"A\\B\\C"));
    EXPECT_EQ(nullptr, Node(L"A\\B"));
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
    EXPECT_EQ(nullptr, Node(L"To\\Enum\\Old"));
    EXPECT_EQ(RegistryLog::CountValues(Existing(L"To\\Enum")), 1u);
    EXPECT_NE(nullptr, Node(L"To\\Enum\\New"));
    EXPECT_NE(nullptr, Node(L"To\\Own"));
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
    EXPECT_EQ(nullptr, Node(L"From"));
    EXPECT_EQ(nullptr, Node(L"To\\K7\\Old"));
    EXPECT_NE(nullptr, Node(L"To\\Own"));
    for (int i = 0; i < 100; ++i) {
        const std::wstring path = L"To\\K" + std::to_wstring(i);
        EXPECT_NE(Node(path + L"\\New"), nullptr) << i;
        EXPECT_EQ(Existing(path).Parent(), &Existing(L"To")) << i;
    }
}

TEST_F(RegistryLogTest, TheSourceOfAMergeIsRemovedWithItsOwnValuesAndOperations) {
    Record({Create(L"From"), SetValue(L"From", L"Lost"), Create(L"From\\A"), Create(L"To")});
    log.MergeSubkeys(Existing(L"To"), Existing(L"From"));
    EXPECT_EQ(nullptr, Node(L"From"));
    EXPECT_THAT(Walk().order, UnorderedElementsAre(L"To", L"To\\A"));
}

TEST_F(RegistryLogTest, PruningRemovesAKeyBelowWhichNoValueWasRecordedAndItsEmptyParents) {
    Record({Create(L"SYSTEM\\Current\\Services\\S"), Create(L"SYSTEM\\Current")});
    log.PruneEmptyKey(localMachineRoot, L"system\\current");
    EXPECT_EQ(nullptr, Node(L"SYSTEM"));
}

TEST_F(RegistryLogTest, PruningStopsAtAParentWithValues) {
    Record({QueryValue(L"A", L"V"), Create(L"A\\B\\C")});
    log.PruneEmptyKey(localMachineRoot, L"A\\B\\C");
    EXPECT_EQ(nullptr, Node(L"A\\B"));
    EXPECT_NE(nullptr, Node(L"A"));
}

TEST_F(RegistryLogTest, PruningStopsAtAParentWithAnotherSubkey) {
    Record({Create(L"A\\B"), Open(L"A\\C")});
    log.PruneEmptyKey(localMachineRoot, L"A\\B");
    EXPECT_EQ(nullptr, Node(L"A\\B"));
    EXPECT_NE(nullptr, Node(L"A\\C"));
}

TEST_F(RegistryLogTest, AParentsOwnOperationsDoNotSaveItFromPruning) {
    Record({Create(L"A"), Create(L"A\\B")});
    log.PruneEmptyKey(localMachineRoot, L"A\\B");
    EXPECT_EQ(nullptr, Node(L"A"));
}

TEST_F(RegistryLogTest, AValueThatWasOnlyReadBlocksThePrune) {
    Record({QueryValue(L"A\\B\\C", L"V"), Create(L"A\\B\\D")});
    log.PruneEmptyKey(localMachineRoot, L"A\\B");
    EXPECT_NE(nullptr, Node(L"A\\B\\C"));
    EXPECT_NE(nullptr, Node(L"A\\B\\D"));
    EXPECT_THAT(Walk().keys, ElementsAre(KeyVisit{localMachineRoot, L"A\\B\\D", Outcome::created, 0, 0}));
}

TEST_F(RegistryLogTest, PruningAnUnknownKeyOrARootLeavesTheRoot) {
    Record({Create(L"A")});
    log.PruneEmptyKey(localMachineRoot, L"B");
    EXPECT_NE(nullptr, Node(L"A"));
    log.PruneEmptyKey(localMachineRoot, L"");
    EXPECT_EQ(nullptr, Node(L"A"));
    EXPECT_NE(nullptr, Node(L""));
}

TEST_F(RegistryLogTest, CountsTheValuesOfAllLevelsWhateverTheirOutcome) {
    Record({QueryValue(L"A", L"1"), SetValue(L"A\\B", L"2"), DeleteValue(L"A\\B\\C", L"3"),
            SetValue(L"A\\B\\C", L"4"), SetValue(L"Z", L"5")});
    EXPECT_EQ(RegistryLog::CountValues(Existing(L"A")), 4u);
}

} // namespace
} // namespace keyreap
