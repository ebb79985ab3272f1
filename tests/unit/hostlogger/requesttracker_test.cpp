#include "etl/registryevent.h"
#include "hostlogger/requesttracker.h"
#include "tests/support/allocationcount.h"
#include "tests/unit/hostlogger/requeststory.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr std::uint32_t PROCESS = 0x20;
constexpr std::uint32_t THREAD = 0x24;
constexpr std::uint32_t OTHER = 0x30;
constexpr std::uint32_t OTHER_THREAD = 0x34;

const std::wstring MACHINE = L"\\REGISTRY\\Machine";
const std::wstring SOFTWARE = MACHINE + L"\\Software";

// A process that runs, and in it the handle 4 of HKLM\Software.
class RequestTrackerTest : public testing::Test {
protected:
    RequestTrackerTest() {
        story.Process(PROCESS, THREAD);
        OpenSoftware(THREAD);
        told.clear();
    }

    void OpenSoftware(std::uint32_t thread) {
        story.Open(thread, R"(\Registry\Machine\Software)", 4, {.realPath = R"(REGISTRY\Machine\Software)"});
    }

    // The path of the key that a value set through this handle belongs to; empty if the handle is of none.
    std::wstring PathBehind(std::uint32_t handle, std::uint32_t thread = THREAD) {
        told.clear();
        story.SetValue(thread, handle, "probe");
        return story.LastPath();
    }

    RequestStory story;
    std::vector<KeyRequest>& told = story.told.requests;
};

TEST_F(RequestTrackerTest, AnOpenedKeyIsToldWithWhatWasAskedAndWhatWasFound) {
    story.Open(THREAD, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].type, registryevent::openKey);
    EXPECT_EQ(told[0].processId, PROCESS);
    EXPECT_EQ(told[0].threadId, THREAD);
    EXPECT_EQ(told[0].status, 0U);
    EXPECT_EQ(told[0].name, L"A");
    ASSERT_TRUE(told[0].parent);
    EXPECT_EQ(told[0].parent->Path(story.registry), SOFTWARE);
    EXPECT_EQ(story.LastPath(), SOFTWARE + L"\\A");
}

TEST_F(RequestTrackerTest, ACreatedKeyIsTold) {
    story.Create(THREAD, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].type, registryevent::createKey);
    EXPECT_EQ(story.LastPath(), SOFTWARE + L"\\A");
}

TEST_F(RequestTrackerTest, TheCreationOfAKeyThatWasThereHasSucceeded) {
    story.Create(THREAD, "A", 8, {.parent = 4, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].status, 0U);
    EXPECT_EQ(story.LastPath(), SOFTWARE + L"\\A");
}

TEST_F(RequestTrackerTest, TheCreationOfARootThatWasThereIsToldAsItsOpening) {
    story.Create(THREAD, R"(\REGISTRY\Machine)", 8, {.status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].type, registryevent::openKey);
    EXPECT_EQ(told[0].status, 0U);
    EXPECT_EQ(story.LastPath(), MACHINE);
}

TEST_F(RequestTrackerTest, WhatAProgramCreatesBelowARootIsTold) {
    story.Create(THREAD, R"(\Registry\Machine)", 8, {.access = 0x02000000, .status = "OBJECT_NAME_EXISTS"});
    story.Create(THREAD, "Software", 12, {.parent = 8, .access = 0x02000000, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[1].type, registryevent::createKey);
}

TEST_F(RequestTrackerTest, ARootOfTheOtherViewIsMadeComponentByComponent) {
    constexpr std::uint32_t way = 0x02000200;
    constexpr std::uint32_t asked = 0x00020206;
    story.Create(THREAD, R"(\Registry\Machine)", 8, {.access = way, .status = "OBJECT_NAME_EXISTS"});
    story.Create(THREAD, "Software", 12, {.parent = 8, .access = way, .status = "OBJECT_NAME_EXISTS"});
    story.Create(THREAD, "A", 16, {.parent = 12, .access = asked, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(told.size(), 3U);
    EXPECT_EQ(told[1].type, registryevent::openKey);
    EXPECT_EQ(told[2].type, registryevent::createKey);
}

TEST_F(RequestTrackerTest, BelowAProgramsOwnKeyNoRootIsMade) {
    constexpr std::uint32_t asked = 0x00020206;
    story.Create(THREAD, R"(\Registry\Machine)", 8, {.access = 0x02000200, .status = "OBJECT_NAME_EXISTS"});
    story.Create(THREAD, "A", 12, {.parent = 8, .access = asked, .status = "OBJECT_NAME_EXISTS"});
    story.Create(THREAD, "B", 16, {.parent = 12, .access = asked, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(told.size(), 3U);
    EXPECT_EQ(told[1].type, registryevent::createKey);
    EXPECT_EQ(told[2].type, registryevent::createKey);
}

TEST_F(RequestTrackerTest, BelowAKeyThatWasOpenedNoRootIsMade) {
    constexpr std::uint32_t way = 0x02000200;
    story.Create(THREAD, R"(\Registry\Machine)", 8, {.access = way, .status = "OBJECT_NAME_EXISTS"});
    story.Open(THREAD, "Software", 12, {.parent = 8, .access = way});
    story.Create(THREAD, "A", 16, {.parent = 12, .access = way, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(told.size(), 3U);
    EXPECT_EQ(told[2].type, registryevent::createKey);
}

TEST_F(RequestTrackerTest, WhatInnerPartsCreateIsToldAsOpenedIfItWasThere) {
    story.Open(THREAD, R"(\Registry\User\S-1-5-21-0-0-0-1000)", 8);
    story.Create(THREAD, R"(Control Panel\Colors)", 12, {.parent = 8, .status = "OBJECT_NAME_EXISTS"});
    story.Create(THREAD, "New", 16, {.parent = 12});
    story.Create(THREAD, "New", 20, {.parent = 16, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(told.size(), 4U);
    EXPECT_EQ(told[1].type, registryevent::openKey);
    EXPECT_EQ(told[2].type, registryevent::createKey);
    EXPECT_EQ(told[3].type, registryevent::openKey);
}

TEST_F(RequestTrackerTest, WhatIsCreatedBelowTheKeyOfRegOpenCurrentUserIsTheProgramsOwn) {
    // As Wine's call makes it: by the root of the users' hives.
    story.Create(THREAD, R"(\Registry\User)", 8, {.access = 0x02000000, .status = "OBJECT_NAME_EXISTS"});
    story.Open(THREAD, "S-1-5-21-0-0-0-1000", 12, {.parent = 8});
    story.Create(THREAD, "Software", 16, {.parent = 12, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(told.size(), 3U);
    EXPECT_EQ(told[2].type, registryevent::createKey);
}

TEST_F(RequestTrackerTest, AFailureKeepsItsStatusAndGivesNoKey) {
    story.Open(THREAD, "Missing", 0, {.parent = 4, .status = "OBJECT_NAME_NOT_FOUND"});
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].status, 0xC0000034U);
    EXPECT_EQ(told[0].name, L"Missing");
    EXPECT_FALSE(told[0].key);
    EXPECT_TRUE(told[0].parent);
}

TEST_F(RequestTrackerTest, TheRealPathCountsAndNotTheAskedName) {
    story.Open(THREAD, "Link", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\System\Target)"});
    EXPECT_EQ(story.LastPath(), MACHINE + L"\\System\\Target");
}

TEST_F(RequestTrackerTest, ChangesAreToldWithTheirKeyAndTheirValuesName) {
    story.SetValue(THREAD, 4, "Set");
    story.DeleteValue(THREAD, 4, "Deleted");
    story.QueryValue(THREAD, 4, "Asked");
    story.DeleteKey(THREAD, 4, "ACCESS_DENIED");
    ASSERT_EQ(told.size(), 4U);
    EXPECT_EQ(told[0].type, registryevent::setValue);
    EXPECT_EQ(told[0].name, L"Set");
    EXPECT_EQ(told[1].type, registryevent::deleteValue);
    EXPECT_EQ(told[1].name, L"Deleted");
    EXPECT_EQ(told[2].type, registryevent::queryValue);
    EXPECT_EQ(told[2].name, L"Asked");
    EXPECT_EQ(told[3].type, registryevent::deleteKey);
    EXPECT_EQ(told[3].status, 0xC0000022U);
    for (const KeyRequest& request : told) {
        EXPECT_EQ(request.key->Path(story.registry), SOFTWARE);
    }
}

TEST_F(RequestTrackerTest, AChangeThroughAHandleOfNoKeyIsNotTold) {
    EXPECT_EQ(PathBehind(0x88), L"");
    EXPECT_TRUE(told.empty());
}

TEST_F(RequestTrackerTest, AListenerThatTakesNoRequestsIsToldNoneButKeysAreFollowed) {
    story.told.takes = false;
    story.Open(THREAD, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    story.SetValue(THREAD, 8, "v");
    story.Close(THREAD, 4);
    EXPECT_TRUE(told.empty());
    story.told.takes = true;
    EXPECT_EQ(PathBehind(8), SOFTWARE + L"\\A");
    EXPECT_EQ(PathBehind(4), L"");
}

TEST_F(RequestTrackerTest, AReplyCountsOnce) {
    story.Open(THREAD, "A", 8, {.parent = 4});
    story.Line("0024: open_key() = 0 { hkey=000c }");
    EXPECT_EQ(told.size(), 1U);
    EXPECT_EQ(PathBehind(12), L"");
}

TEST_F(RequestTrackerTest, RepliesOfOtherThreadsMayStandBetween) {
    story.Process(OTHER, OTHER_THREAD);
    OpenSoftware(OTHER_THREAD);
    told.clear();
    story.Line(R"(0024: set_key_value( hkey=0004, type=4, namelen=2, name=L"A" ))");
    story.Line(R"(0034: set_key_value( hkey=0004, type=4, namelen=2, name=L"B" ))");
    story.Line("0024: set_key_value() = 0");
    story.Line("0034: set_key_value() = 0");
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0].name, L"A");
    EXPECT_EQ(told[0].processId, PROCESS);
    EXPECT_EQ(told[1].name, L"B");
    EXPECT_EQ(told[1].processId, OTHER);
}

TEST_F(RequestTrackerTest, ARealPathBelongsToTheRequestAboveIt) {
    story.Process(OTHER, OTHER_THREAD);
    told.clear();
    story.Line(R"(0024: open_key( parent=0004, access=00020019, attributes=00000040, name=L"A" ))");
    story.Line(
        R"(0034: open_key( parent=0000, access=00020019, attributes=00000040, name=L"\\Registry\\B" ))");
    story.Line(R"(Open key REGISTRY\\B)");
    story.Line("0034: open_key() = 0 { hkey=0008 }");
    story.Line("0024: open_key() = 0 { hkey=0008 }");
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0].key->Path(story.registry), L"\\REGISTRY\\B");
    EXPECT_EQ(told[1].key->Path(story.registry), SOFTWARE + L"\\A");
}

TEST_F(RequestTrackerTest, AReplyWithoutItsRequestIsLeft) {
    story.Line("0024: set_key_value() = 0");
    story.Line("0024: open_key() = 0 { hkey=0008 }");
    EXPECT_TRUE(told.empty());
    EXPECT_EQ(PathBehind(8), L"");
}

TEST_F(RequestTrackerTest, AReplyToAnotherRequestIsLeft) {
    story.Line("0024: delete_key( hkey=0004 )");
    story.Line("0024: set_key_value() = 0");
    EXPECT_TRUE(told.empty());
}

TEST_F(RequestTrackerTest, ARequestThatItsThreadDidNotLiveToSeeAnsweredIsLeft) {
    story.Line("0024: delete_key( hkey=0004 )");
    story.KillThread(THREAD);
    story.Line("0024: delete_key() = 0");
    EXPECT_TRUE(told.empty());
}

TEST_F(RequestTrackerTest, TimesAreThoseOfTheLastClockLine) {
    story.Line("time 1000");
    story.SetValue(THREAD, 4, "A");
    story.Line("time 2000");
    story.SetValue(THREAD, 4, "B");
    story.SetValue(THREAD, 4, "C");
    ASSERT_EQ(told.size(), 3U);
    EXPECT_EQ(told[0].time, 1000);
    EXPECT_EQ(told[1].time, 2000);
    EXPECT_EQ(told[2].time, 2000);
    EXPECT_EQ(story.tracker.Time(), 2000);
}

TEST_F(RequestTrackerTest, MissingLinesAreTold) {
    story.Line("lost");
    EXPECT_EQ(story.told.lost, 1);
}

TEST_F(RequestTrackerTest, LinesOfNoMeaningAreLeft) {
    for (const char* line :
         {"", "wineserver: starting (pid=1)", "0024: select( flags=2 )", "0024: select() = 0",
          "Open key REGISTRY", "time", "time x", "0024: open_key(", "\xff\xfe"}) {
        story.Line(line);
    }
    EXPECT_TRUE(told.empty());
    EXPECT_EQ(PathBehind(4), SOFTWARE);
}

TEST_F(RequestTrackerTest, AMissingCompleteNameCanBeFound) {
    story.Open(THREAD, R"(\REGISTRY\Mark 1)", 0, {.status = "OBJECT_NAME_NOT_FOUND"});
    story.Open(THREAD, "Mark 2", 0, {.parent = 4, .status = "OBJECT_NAME_NOT_FOUND"});
    story.Create(THREAD, R"(\REGISTRY\Mark 3)", 0, {.status = "ACCESS_DENIED"});
    EXPECT_EQ(story.told.missing, (std::vector<std::wstring>{L"\\REGISTRY\\Mark 1"}));
}

TEST_F(RequestTrackerTest, WithoutAListenerHandlesAreFollowedAllTheSame) {
    story.listening = false;
    story.Open(THREAD, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    story.Line("lost");
    story.Open(THREAD, R"(\REGISTRY\Missing)", 0, {.status = "OBJECT_NAME_NOT_FOUND"});
    story.listening = true;
    EXPECT_TRUE(told.empty());
    EXPECT_EQ(PathBehind(8), SOFTWARE + L"\\A");
}

// Handles.

TEST_F(RequestTrackerTest, AClosedHandleIsOfNoKey) {
    story.Close(THREAD, 4);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].type, registryevent::close);
    EXPECT_EQ(story.LastPath(), SOFTWARE);
    EXPECT_EQ(PathBehind(4), L"");
}

TEST_F(RequestTrackerTest, AHandleThatCouldNotBeClosedIsStillOpen) {
    story.Close(THREAD, 4, "HANDLE_NOT_CLOSABLE");
    EXPECT_TRUE(told.empty());
    EXPECT_EQ(PathBehind(4), SOFTWARE);
}

TEST_F(RequestTrackerTest, AHandleUsedAgainIsOfItsNewKey) {
    story.Close(THREAD, 4);
    story.Open(THREAD, R"(\Registry\User)", 4, {.realPath = R"(REGISTRY\User)"});
    EXPECT_EQ(PathBehind(4), L"\\REGISTRY\\User");
}

TEST_F(RequestTrackerTest, HandlesOfOtherProcessesAreOthers) {
    story.Process(OTHER, OTHER_THREAD);
    EXPECT_EQ(PathBehind(4, OTHER_THREAD), L"");
    story.Open(OTHER_THREAD, R"(\Registry\User)", 4, {.realPath = R"(REGISTRY\User)"});
    EXPECT_EQ(PathBehind(4, OTHER_THREAD), L"\\REGISTRY\\User");
    EXPECT_EQ(PathBehind(4), SOFTWARE);
}

TEST_F(RequestTrackerTest, ThreadsOfAProcessShareItsHandles) {
    story.NewThread(THREAD, RequestStory::SELF, 0x28);
    EXPECT_EQ(PathBehind(4, 0x28), SOFTWARE);
    EXPECT_EQ(told.back().processId, PROCESS);
    EXPECT_EQ(told.back().threadId, 0x28U);
}

TEST_F(RequestTrackerTest, ACopyIsOfTheSameKey) {
    story.Duplicate(THREAD, RequestStory::SELF, 4, RequestStory::SELF, 8);
    EXPECT_EQ(PathBehind(8), SOFTWARE);
    story.Close(THREAD, 4);
    EXPECT_EQ(PathBehind(8), SOFTWARE);
}

TEST_F(RequestTrackerTest, ACopyMayTakeTheSourceAway) {
    story.Duplicate(THREAD, RequestStory::SELF, 4, RequestStory::SELF, 8, 1);
    EXPECT_EQ(PathBehind(4), L"");
    EXPECT_EQ(PathBehind(8), SOFTWARE);
}

TEST_F(RequestTrackerTest, ACopyWithTheSameRightsLeavesItsSource) {
    story.Duplicate(THREAD, RequestStory::SELF, 4, RequestStory::SELF, 8, 2);
    EXPECT_EQ(PathBehind(4), SOFTWARE);
    EXPECT_EQ(PathBehind(8), SOFTWARE);
}

TEST_F(RequestTrackerTest, ACopyInThePlaceOfItsSourceStays) {
    story.Duplicate(THREAD, RequestStory::SELF, 4, RequestStory::SELF, 4, 1);
    EXPECT_EQ(PathBehind(4), SOFTWARE);
}

TEST_F(RequestTrackerTest, ASourceIsTakenAwayEvenWhenTheCopyFails) {
    story.Duplicate(THREAD, RequestStory::SELF, 4, 0, 0, 1);
    EXPECT_EQ(PathBehind(4), L"");
}

TEST_F(RequestTrackerTest, ACopyInAnotherProcessIsOfTheSameKey) {
    story.Process(OTHER, OTHER_THREAD);
    story.OpenProcess(THREAD, OTHER, 0x40);
    story.Duplicate(THREAD, RequestStory::SELF, 4, 0x40, 0x50);
    EXPECT_EQ(PathBehind(0x50, OTHER_THREAD), SOFTWARE);
    EXPECT_EQ(PathBehind(0x50), L"");
}

TEST_F(RequestTrackerTest, ACopyCanBeFetchedFromAnotherProcess) {
    story.Process(OTHER, OTHER_THREAD);
    story.OpenProcess(OTHER_THREAD, PROCESS, 0x40);
    story.Duplicate(OTHER_THREAD, 0x40, 4, RequestStory::SELF, 0x50);
    EXPECT_EQ(PathBehind(0x50, OTHER_THREAD), SOFTWARE);
}

TEST_F(RequestTrackerTest, ACopyOfTheProcessItselfIsAHandleOfIt) {
    story.Process(OTHER, OTHER_THREAD);
    story.OpenProcess(THREAD, OTHER, 0x40);
    story.Duplicate(THREAD, RequestStory::SELF, RequestStory::SELF, 0x40, 0x60);
    story.Duplicate(OTHER_THREAD, 0x60, 4, RequestStory::SELF, 0x50);
    EXPECT_EQ(PathBehind(0x50, OTHER_THREAD), SOFTWARE);
}

TEST_F(RequestTrackerTest, AMarkedHandleIsInherited) {
    story.Open(THREAD, "A", 8,
               {.parent = 4, .attributes = 0x42, .realPath = R"(REGISTRY\Machine\Software\A)"});
    story.NewProcess(THREAD, OTHER, 0x40, 4);
    story.NewThread(THREAD, 0x40, OTHER_THREAD);
    story.EndStart(OTHER_THREAD);
    EXPECT_EQ(PathBehind(8, OTHER_THREAD), SOFTWARE + L"\\A");
    EXPECT_EQ(PathBehind(4, OTHER_THREAD), L"");
}

TEST_F(RequestTrackerTest, OfAListOnlyListedHandlesAreInherited) {
    story.Mark(THREAD, 4, 1, 1);
    story.Open(THREAD, "A", 8,
               {.parent = 4, .attributes = 0x42, .realPath = R"(REGISTRY\Machine\Software\A)"});
    story.NewProcess(THREAD, OTHER, 0x40, 4, "00000008");
    story.NewThread(THREAD, 0x40, OTHER_THREAD);
    story.EndStart(OTHER_THREAD);
    EXPECT_EQ(PathBehind(8, OTHER_THREAD), SOFTWARE + L"\\A");
    EXPECT_EQ(PathBehind(4, OTHER_THREAD), L"");
}

TEST_F(RequestTrackerTest, AChildThatInheritsNothingHasNothing) {
    story.Mark(THREAD, 4, 1, 1);
    story.NewProcess(THREAD, OTHER, 0x40);
    story.NewThread(THREAD, 0x40, OTHER_THREAD);
    story.EndStart(OTHER_THREAD);
    EXPECT_EQ(PathBehind(4, OTHER_THREAD), L"");
}

TEST_F(RequestTrackerTest, AMarkCanBeGivenAndTakenLater) {
    story.Mark(THREAD, 4, 1, 1);
    story.Mark(THREAD, 4, 0, 2);
    story.NewProcess(THREAD, OTHER, 0x40, 4);
    story.NewThread(THREAD, 0x40, OTHER_THREAD);
    story.EndStart(OTHER_THREAD);
    EXPECT_EQ(PathBehind(4, OTHER_THREAD), SOFTWARE);
    story.Mark(THREAD, 4, 0, 1);
    story.NewProcess(THREAD, OTHER, 0x40, 4);
    EXPECT_EQ(PathBehind(4, OTHER_THREAD), L"");
}

TEST_F(RequestTrackerTest, ACopyIsMarkedAsAskedOrAsItsSource) {
    story.Mark(THREAD, 4, 1, 1);
    story.Duplicate(THREAD, RequestStory::SELF, 4, RequestStory::SELF, 8);
    story.Duplicate(THREAD, RequestStory::SELF, 4, RequestStory::SELF, 12, 4);
    story.Duplicate(THREAD, RequestStory::SELF, 8, RequestStory::SELF, 16, 0, 2);
    story.NewProcess(THREAD, OTHER, 0x40, 4);
    story.NewThread(THREAD, 0x40, OTHER_THREAD);
    story.EndStart(OTHER_THREAD);
    EXPECT_EQ(PathBehind(8, OTHER_THREAD), L"");
    EXPECT_EQ(PathBehind(12, OTHER_THREAD), SOFTWARE);
    EXPECT_EQ(PathBehind(16, OTHER_THREAD), SOFTWARE);
}

TEST_F(RequestTrackerTest, AChildMayHaveAnotherParentThanItsMaker) {
    story.Mark(THREAD, 4, 1, 1);
    story.Process(OTHER, OTHER_THREAD);
    story.OpenProcess(OTHER_THREAD, PROCESS, 0x40);
    story.NewProcess(OTHER_THREAD, 0x50, 0x44, 4, {}, 0x40);
    story.NewThread(OTHER_THREAD, 0x44, 0x54);
    story.EndStart(0x54);
    EXPECT_EQ(PathBehind(4, 0x54), SOFTWARE);
}

// Processes.

TEST_F(RequestTrackerTest, WhatAProcessAsksBeforeItsOwnCodeRunsIsNotTold) {
    story.FirstThread(OTHER, OTHER_THREAD);
    story.MapImage(OTHER_THREAD, RequestStory::AMD64);
    OpenSoftware(OTHER_THREAD);
    story.SetValue(OTHER_THREAD, 4, "of the start");
    EXPECT_TRUE(told.empty());
    story.EndStart(OTHER_THREAD);
    story.SetValue(OTHER_THREAD, 4, "own");
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].name, L"own");
}

TEST_F(RequestTrackerTest, ADebuggersQuestionDoesNotEndAStart) {
    story.FirstThread(OTHER, OTHER_THREAD);
    story.OpenProcess(THREAD, OTHER, 0x40);
    story.EndStart(THREAD, 0x40);
    OpenSoftware(OTHER_THREAD);
    EXPECT_TRUE(told.empty());
}

TEST_F(RequestTrackerTest, ADeadProcessIsForgottenWithItsHandles) {
    story.KillThread(THREAD);
    story.KillProcess(PROCESS);
    EXPECT_TRUE(story.tracker.OpenKeys().empty());
    story.Process(PROCESS, THREAD);
    EXPECT_EQ(PathBehind(4), L"");
}

TEST_F(RequestTrackerTest, AnIdUsedAgainIsOfANewProcess) {
    story.KillThread(THREAD);
    story.KillProcess(PROCESS);
    story.FirstThread(PROCESS, THREAD);
    OpenSoftware(THREAD);
    EXPECT_TRUE(told.empty());
}

TEST_F(RequestTrackerTest, AThreadOfNoKnownProcessIsLeft) {
    OpenSoftware(0x99);
    story.EndStart(0x99);
    story.SetValue(0x99, 4, "A");
    EXPECT_TRUE(told.empty());
    EXPECT_EQ(story.tracker.OpenKeys().size(), 1U);
}

TEST_F(RequestTrackerTest, WhatIsOverTakesNoMemory) {
    story.listening = false;
    const auto live = [&](std::uint32_t child) {
        const std::uint32_t itsThread = child + 4;
        story.NewProcess(THREAD, child, 0x40, 4);
        story.NewThread(THREAD, 0x40, itsThread);
        OpenSoftware(itsThread);
        story.Create(itsThread, "A", 8, {.parent = 4, .status = "OBJECT_NAME_EXISTS"});
        story.Duplicate(THREAD, 0x40, 8, RequestStory::SELF, child);
        story.UnansweredOpen(itsThread);
        story.KillThread(itsThread);
        story.KillProcess(child);
        story.Close(THREAD, child);
        story.Close(THREAD, 0x40);
        story.lines.clear();
    };
    live(0x1000);
    const std::size_t before = LiveAllocationCount();
    for (std::uint32_t count = 1; count < 200; ++count) {
        live(0x1000 + count * 8);
    }
    EXPECT_EQ(LiveAllocationCount(), before);
}

TEST_F(RequestTrackerTest, OpenKeysAreEveryProcesss) {
    story.Process(OTHER, OTHER_THREAD);
    OpenSoftware(OTHER_THREAD);
    EXPECT_EQ(story.tracker.OpenKeys().size(), 2U);
    story.Duplicate(THREAD, RequestStory::SELF, 4, RequestStory::SELF, 8);
    EXPECT_EQ(story.tracker.OpenKeys().size(), 2U);
    story.Close(OTHER_THREAD, 4);
    EXPECT_EQ(story.tracker.OpenKeys().size(), 1U);
}

// The view of a 32-bit process.

TEST_F(RequestTrackerTest, AKeyThatWasThereIsWhereTheProcesssViewPutsIt) {
    story.Process(OTHER, OTHER_THREAD, RequestStory::I386);
    const KeyQuestion existing{.status = "OBJECT_NAME_EXISTS"};
    story.Create(OTHER_THREAD, R"(\REGISTRY\Machine\Software\A)", 8, existing);
    EXPECT_EQ(story.LastPath(), SOFTWARE + L"\\Wow6432Node\\A");
    story.Create(THREAD, R"(\REGISTRY\Machine\Software\A)", 8, existing);
    EXPECT_EQ(story.LastPath(), SOFTWARE + L"\\A");
}

TEST_F(RequestTrackerTest, AccessFlagsChooseTheView) {
    story.Process(OTHER, OTHER_THREAD, RequestStory::I386);
    OpenSoftware(OTHER_THREAD);
    story.Create(OTHER_THREAD, R"(\REGISTRY\Machine\Software\A)", 8,
                 {.access = 0xF013F, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), SOFTWARE + L"\\A");
    story.Create(OTHER_THREAD, "A", 8, {.parent = 4, .access = 0xF023F, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), SOFTWARE + L"\\Wow6432Node\\A");
    story.Create(OTHER_THREAD, "A", 8, {.parent = 4, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), SOFTWARE + L"\\A");
}

TEST_F(RequestTrackerTest, AccessFlagsMeanNothingToA64BitProcess) {
    story.Create(THREAD, "A", 8, {.parent = 4, .access = 0xF023F, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), SOFTWARE + L"\\A");
}

TEST_F(RequestTrackerTest, TheFirstImageTellsTheBitness) {
    story.FirstThread(OTHER, OTHER_THREAD);
    story.MapImage(OTHER_THREAD, RequestStory::I386);
    story.MapImage(OTHER_THREAD, RequestStory::AMD64);
    story.EndStart(OTHER_THREAD);
    story.Create(OTHER_THREAD, R"(\REGISTRY\Machine\Software\A)", 8, {.status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), SOFTWARE + L"\\Wow6432Node\\A");
}

TEST_F(RequestTrackerTest, AnImageForEitherBitnessRunsIn64Bits) {
    story.FirstThread(OTHER, OTHER_THREAD);
    story.MapImage(OTHER_THREAD, RequestStory::I386, "03");
    story.EndStart(OTHER_THREAD);
    story.Create(OTHER_THREAD, R"(\REGISTRY\Machine\Software\A)", 8, {.status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), SOFTWARE + L"\\A");
}

TEST_F(RequestTrackerTest, ALinkThatIsOpenedAsSuchIsNotFollowed) {
    story.registry.AddLink(SOFTWARE + L"\\Link", MACHINE + L"\\System");
    story.Create(THREAD, "Link", 8, {.parent = 4, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), MACHINE + L"\\System");
    story.Create(THREAD, "Link", 8, {.parent = 4, .attributes = 0x140, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), SOFTWARE + L"\\Link");
}

TEST_F(RequestTrackerTest, PathsAreLookedUpWhenTheyAreAskedFor) {
    story.listening = false;
    const int questions = story.registry.questions;
    story.Create(THREAD, "A", 8, {.parent = 4, .status = "OBJECT_NAME_EXISTS"});
    story.Create(THREAD, "B", 12, {.parent = 8, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.registry.questions, questions);
    story.listening = true;
    EXPECT_EQ(PathBehind(12), SOFTWARE + L"\\A\\B");
}

TEST_F(RequestTrackerTest, AChainOfKeysToLookUpDoesNotGrowWithoutEnd) {
    story.registry.AddLink(SOFTWARE + L"\\Round", SOFTWARE);
    story.listening = false;
    for (int count = 0; count < 1000; ++count) {
        story.Create(THREAD, "Round", 4, {.parent = 4, .status = "OBJECT_NAME_EXISTS"});
        for (const auto& [address, key] : story.tracker.OpenKeys()) {
            ASSERT_LE(key->Depth(), 32U);
        }
    }
    story.listening = true;
    EXPECT_EQ(PathBehind(4), SOFTWARE);
}

// Renaming.

TEST_F(RequestTrackerTest, ARenamedKeyAndAllBelowItMove) {
    story.Open(THREAD, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    story.Open(THREAD, "B", 12, {.parent = 8, .realPath = R"(REGISTRY\Machine\Software\a\B)"});
    story.Open(THREAD, "AB", 16, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\AB)"});
    story.Create(THREAD, "C", 20, {.parent = 8, .status = "OBJECT_NAME_EXISTS"});
    told.clear();
    story.Rename(THREAD, 8, "New");
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].type, registryevent::setInformation);
    EXPECT_EQ(PathBehind(8), SOFTWARE + L"\\New");
    EXPECT_EQ(PathBehind(12), SOFTWARE + L"\\New\\B");
    EXPECT_EQ(PathBehind(16), SOFTWARE + L"\\AB");
    EXPECT_EQ(PathBehind(20), SOFTWARE + L"\\New\\C");
}

TEST_F(RequestTrackerTest, ARenamingThatFailedMovesNothing) {
    story.Open(THREAD, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    story.Rename(THREAD, 8, "New", "CANNOT_DELETE");
    EXPECT_EQ(told.back().status, 0xC0000121U);
    EXPECT_EQ(PathBehind(8), SOFTWARE + L"\\A");
}

TEST_F(RequestTrackerTest, RenamingThroughAHandleOfNoKeyIsLeft) {
    story.Rename(THREAD, 0x88, "New");
    EXPECT_TRUE(told.empty());
}

} // namespace
} // namespace keyreap
