// What RequestTracker knows of handles and processes.
#include "etl/registryevent.h"
#include "tests/support/allocationcount.h"
#include "tests/unit/hostlogger/requesttrackertest.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using TrackedHandles = RequestTrackerTest;

TEST_F(TrackedHandles, AClosedHandleRefersToNoKey) {
    story.Close(firstThread, 4);
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_EQ(reported[0].type, registryevent::close);
    EXPECT_EQ(story.LastPath(), softwareKey);
    EXPECT_EQ(PathOf(4), L"");
}

TEST_F(TrackedHandles, AHandleThatCouldNotBeClosedIsStillOpen) {
    story.Close(firstThread, 4, "HANDLE_NOT_CLOSABLE");
    EXPECT_TRUE(reported.empty());
    EXPECT_EQ(PathOf(4), softwareKey);
}

TEST_F(TrackedHandles, AReusedHandleRefersToItsNewKey) {
    story.Close(firstThread, 4);
    story.Open(firstThread, R"(\Registry\User)", 4, {.realPath = R"(REGISTRY\User)"});
    EXPECT_EQ(PathOf(4), L"\\REGISTRY\\User");
}

TEST_F(TrackedHandles, EachProcessHasHandlesOfItsOwn) {
    story.Process(secondProcess, secondThread);
    EXPECT_EQ(PathOf(4, secondThread), L"");
    story.Open(secondThread, R"(\Registry\User)", 4, {.realPath = R"(REGISTRY\User)"});
    EXPECT_EQ(PathOf(4, secondThread), L"\\REGISTRY\\User");
    EXPECT_EQ(PathOf(4), softwareKey);
}

TEST_F(TrackedHandles, ThreadsOfAProcessShareItsHandles) {
    story.NewThread(firstThread, RequestStory::self, 0x28);
    EXPECT_EQ(PathOf(4, 0x28), softwareKey);
    EXPECT_EQ(reported.back().processId, firstProcess);
    EXPECT_EQ(reported.back().threadId, 0x28U);
}

TEST_F(TrackedHandles, ACopyRefersToTheSameKey) {
    story.Duplicate(firstThread, RequestStory::self, 4, RequestStory::self, 8);
    EXPECT_EQ(PathOf(8), softwareKey);
    story.Close(firstThread, 4);
    EXPECT_EQ(PathOf(8), softwareKey);
}

TEST_F(TrackedHandles, ACopyMayCloseItsSource) {
    story.Duplicate(firstThread, RequestStory::self, 4, RequestStory::self, 8, 1);
    EXPECT_EQ(PathOf(4), L"");
    EXPECT_EQ(PathOf(8), softwareKey);
}

TEST_F(TrackedHandles, ACopyWithTheSameRightsKeepsItsSource) {
    story.Duplicate(firstThread, RequestStory::self, 4, RequestStory::self, 8, 2);
    EXPECT_EQ(PathOf(4), softwareKey);
    EXPECT_EQ(PathOf(8), softwareKey);
}

TEST_F(TrackedHandles, ACopyWithTheValueOfItsSourceStaysOpen) {
    story.Duplicate(firstThread, RequestStory::self, 4, RequestStory::self, 4, 1);
    EXPECT_EQ(PathOf(4), softwareKey);
}

TEST_F(TrackedHandles, ASourceIsClosedEvenIfTheCopyFails) {
    story.Duplicate(firstThread, RequestStory::self, 4, 0, 0, 1);
    EXPECT_EQ(PathOf(4), L"");
}

TEST_F(TrackedHandles, ACopyInAnotherProcessRefersToTheSameKey) {
    story.Process(secondProcess, secondThread);
    story.OpenProcess(firstThread, secondProcess, 0x40);
    story.Duplicate(firstThread, RequestStory::self, 4, 0x40, 0x50);
    EXPECT_EQ(PathOf(0x50, secondThread), softwareKey);
    EXPECT_EQ(PathOf(0x50), L"");
}

TEST_F(TrackedHandles, ACopyCanBeFetchedFromAnotherProcess) {
    story.Process(secondProcess, secondThread);
    story.OpenProcess(secondThread, firstProcess, 0x40);
    story.Duplicate(secondThread, 0x40, 4, RequestStory::self, 0x50);
    EXPECT_EQ(PathOf(0x50, secondThread), softwareKey);
}

TEST_F(TrackedHandles, ACopyOfTheProcessHandleRefersToTheProcess) {
    story.Process(secondProcess, secondThread);
    story.OpenProcess(firstThread, secondProcess, 0x40);
    story.Duplicate(firstThread, RequestStory::self, RequestStory::self, 0x40, 0x60);
    story.Duplicate(secondThread, 0x60, 4, RequestStory::self, 0x50);
    EXPECT_EQ(PathOf(0x50, secondThread), softwareKey);
}

TEST_F(TrackedHandles, AnInheritableHandleIsInherited) {
    story.Open(firstThread, "A", 8,
               {.parent = 4, .attributes = 0x42, .realPath = R"(REGISTRY\Machine\Software\A)"});
    story.NewProcess(firstThread, secondProcess, 0x40, 4);
    story.NewThread(firstThread, 0x40, secondThread);
    story.ReachEntryPoint(secondThread);
    EXPECT_EQ(PathOf(8, secondThread), softwareKey + L"\\A");
    EXPECT_EQ(PathOf(4, secondThread), L"");
}

TEST_F(TrackedHandles, OfAListOnlyListedHandlesAreInherited) {
    story.SetHandleInfo(firstThread, 4, 1, 1);
    story.Open(firstThread, "A", 8,
               {.parent = 4, .attributes = 0x42, .realPath = R"(REGISTRY\Machine\Software\A)"});
    story.NewProcess(firstThread, secondProcess, 0x40, 4, "00000008");
    story.NewThread(firstThread, 0x40, secondThread);
    story.ReachEntryPoint(secondThread);
    EXPECT_EQ(PathOf(8, secondThread), softwareKey + L"\\A");
    EXPECT_EQ(PathOf(4, secondThread), L"");
}

TEST_F(TrackedHandles, AChildThatInheritsNothingHasNoHandles) {
    story.SetHandleInfo(firstThread, 4, 1, 1);
    story.NewProcess(firstThread, secondProcess, 0x40);
    story.NewThread(firstThread, 0x40, secondThread);
    story.ReachEntryPoint(secondThread);
    EXPECT_EQ(PathOf(4, secondThread), L"");
}

TEST_F(TrackedHandles, AHandleCanBecomeInheritableAndCeaseToBe) {
    story.SetHandleInfo(firstThread, 4, 1, 1);
    story.SetHandleInfo(firstThread, 4, 0, 2);
    story.NewProcess(firstThread, secondProcess, 0x40, 4);
    story.NewThread(firstThread, 0x40, secondThread);
    story.ReachEntryPoint(secondThread);
    EXPECT_EQ(PathOf(4, secondThread), softwareKey);
    story.SetHandleInfo(firstThread, 4, 0, 1);
    story.NewProcess(firstThread, secondProcess, 0x40, 4);
    EXPECT_EQ(PathOf(4, secondThread), L"");
}

TEST_F(TrackedHandles, ACopyIsInheritableAsAskedForOrLikeItsSource) {
    story.SetHandleInfo(firstThread, 4, 1, 1);
    story.Duplicate(firstThread, RequestStory::self, 4, RequestStory::self, 8);
    story.Duplicate(firstThread, RequestStory::self, 4, RequestStory::self, 12, 4);
    story.Duplicate(firstThread, RequestStory::self, 8, RequestStory::self, 16, 0, 2);
    story.NewProcess(firstThread, secondProcess, 0x40, 4);
    story.NewThread(firstThread, 0x40, secondThread);
    story.ReachEntryPoint(secondThread);
    EXPECT_EQ(PathOf(8, secondThread), L"");
    EXPECT_EQ(PathOf(12, secondThread), softwareKey);
    EXPECT_EQ(PathOf(16, secondThread), softwareKey);
}

TEST_F(TrackedHandles, AChildMayHaveAParentThatDidNotCreateIt) {
    story.SetHandleInfo(firstThread, 4, 1, 1);
    story.Process(secondProcess, secondThread);
    story.OpenProcess(secondThread, firstProcess, 0x40);
    story.NewProcess(secondThread, 0x50, 0x44, 4, {}, 0x40);
    story.NewThread(secondThread, 0x44, 0x54);
    story.ReachEntryPoint(0x54);
    EXPECT_EQ(PathOf(4, 0x54), softwareKey);
}

// Processes.

TEST_F(TrackedHandles, RequestsBeforeTheEntryPointAreNotReported) {
    story.FirstThread(secondProcess, secondThread);
    story.MapImage(secondThread, RequestStory::machine64);
    OpenSoftware(secondThread);
    story.SetValue(secondThread, 4, "of the start");
    EXPECT_TRUE(reported.empty());
    story.ReachEntryPoint(secondThread);
    story.SetValue(secondThread, 4, "own");
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_EQ(reported[0].name, L"own");
}

TEST_F(TrackedHandles, ADebuggersRequestDoesNotEndAStart) {
    story.FirstThread(secondProcess, secondThread);
    story.OpenProcess(firstThread, secondProcess, 0x40);
    story.ReachEntryPoint(firstThread, 0x40);
    OpenSoftware(secondThread);
    EXPECT_TRUE(reported.empty());
}

TEST_F(TrackedHandles, ADeadProcessIsForgottenWithItsHandles) {
    story.KillThread(firstThread);
    story.KillProcess(firstProcess);
    EXPECT_TRUE(story.tracker.OpenKeys().empty());
    story.Process(firstProcess, firstThread);
    EXPECT_EQ(PathOf(4), L"");
}

TEST_F(TrackedHandles, AReusedIdBelongsToANewProcess) {
    story.KillThread(firstThread);
    story.KillProcess(firstProcess);
    story.FirstThread(firstProcess, firstThread);
    OpenSoftware(firstThread);
    EXPECT_TRUE(reported.empty());
}

TEST_F(TrackedHandles, AThreadOfAnUnknownProcessIsIgnored) {
    OpenSoftware(0x99);
    story.ReachEntryPoint(0x99);
    story.SetValue(0x99, 4, "A");
    EXPECT_TRUE(reported.empty());
    EXPECT_EQ(story.tracker.OpenKeys().size(), 1U);
}

TEST_F(TrackedHandles, EndedProcessesAndClosedHandlesTakeNoMemory) {
    story.listening = false;
    const auto live = [&](std::uint32_t child) {
        const std::uint32_t itsThread = child + 4;
        story.NewProcess(firstThread, child, 0x40, 4);
        story.NewThread(firstThread, 0x40, itsThread);
        OpenSoftware(itsThread);
        story.Create(itsThread, "A", 8, {.parent = 4, .status = "OBJECT_NAME_EXISTS"});
        story.Duplicate(firstThread, 0x40, 8, RequestStory::self, child);
        story.UnansweredOpen(itsThread);
        story.KillThread(itsThread);
        story.KillProcess(child);
        story.Close(firstThread, child);
        story.Close(firstThread, 0x40);
        story.lines.clear();
    };
    live(0x1000);
    const std::size_t before = LiveAllocationCount();
    for (std::uint32_t count = 1; count < 200; ++count) {
        live(0x1000 + count * 8);
    }
    EXPECT_EQ(LiveAllocationCount(), before);
}

TEST_F(TrackedHandles, OpenKeysAreThoseOfAllProcesses) {
    story.Process(secondProcess, secondThread);
    OpenSoftware(secondThread);
    EXPECT_EQ(story.tracker.OpenKeys().size(), 2U);
    story.Duplicate(firstThread, RequestStory::self, 4, RequestStory::self, 8);
    EXPECT_EQ(story.tracker.OpenKeys().size(), 2U);
    story.Close(secondThread, 4);
    EXPECT_EQ(story.tracker.OpenKeys().size(), 1U);
}

} // namespace
} // namespace keyreap
