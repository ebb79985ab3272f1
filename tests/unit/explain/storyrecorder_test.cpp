#include "etl/registryevent.h"
#include "kit/explain/storyrecorder.h"
#include "tests/unit/hostlogger/requeststory.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr std::uint32_t process = 0x20;
constexpr std::uint32_t thread = 0x24;
constexpr std::uint32_t software = 4;

// The lines of a log go through a tracker into the recorder.
class StoryRecorderTest : public testing::Test {
protected:
    // What the lines so far make up.
    Story Recorded() {
        for (const std::string& line : log.lines) {
            second.Feed(line, &recorder);
        }
        log.lines.clear();
        return recorder.SoFar();
    }

    RequestStory log;
    StoryRecorder recorder{log.registry};
    RequestTracker second{log.registry};
};

TEST_F(StoryRecorderTest, NothingIsRecordedAheadOfTheCapture) {
    log.Process(process, thread);
    log.Create(thread, R"(\Registry\Machine\Software\A)", 8, {.realPath = R"(REGISTRY\Machine\Software\A)"});
    EXPECT_TRUE(Recorded().operations.empty());
    recorder.BeginCapture();
    log.SetValue(thread, 8, "v");
    const Story story = Recorded();
    ASSERT_EQ(story.operations.size(), 1U);
    EXPECT_EQ(story.operations[0].type, registryevent::setValue);
    EXPECT_EQ(story.operations[0].keyPath, L"\\REGISTRY\\Machine\\Software\\A");
    EXPECT_EQ(story.operations[0].valueName, L"v");
    EXPECT_EQ(story.operations[0].threadId, thread);
}

TEST_F(StoryRecorderTest, ARenamingHasTheOldPathAndTheNewName) {
    recorder.BeginCapture();
    log.Process(process, thread);
    log.Create(thread, R"(\Registry\Machine\Software\A)", 8, {.realPath = R"(REGISTRY\Machine\Software\A)"});
    log.Rename(thread, 8, "New");
    log.SetValue(thread, 8, "v");
    const Story story = Recorded();
    ASSERT_EQ(story.operations.size(), 3U);
    EXPECT_EQ(story.operations[1].keyPath, L"\\REGISTRY\\Machine\\Software\\A");
    EXPECT_EQ(story.operations[1].newName, L"New");
    EXPECT_EQ(story.operations[2].keyPath, L"\\REGISTRY\\Machine\\Software\\New");
    EXPECT_EQ(story.operations[2].newName, L"");
}

TEST_F(StoryRecorderTest, AMissingKeyHasTheNameThatWasAskedFor) {
    recorder.BeginCapture();
    log.Process(process, thread);
    log.Open(thread, R"(\Registry\Machine\Software)", software, {.realPath = R"(REGISTRY\Machine\Software)"});
    log.Open(thread, "Missing", 0, {.parent = software, .status = "OBJECT_NAME_NOT_FOUND"});
    const Story story = Recorded();
    ASSERT_EQ(story.operations.size(), 2U);
    EXPECT_EQ(story.operations[1].keyPath, L"\\REGISTRY\\Machine\\Software\\Missing");
    EXPECT_EQ(story.operations[1].status, 0xC0000034U);
}

TEST_F(StoryRecorderTest, AProcessHasItsImageAndItsParent) {
    log.Process(process, thread);
    log.NewProcess(thread, 0x30, 0x60, 0, {}, 0, "early.exe");
    Recorded();
    recorder.NameProcess(process, L"own.exe");
    recorder.BeginCapture();
    log.NewProcess(thread, 0x30, 0x64, 0, {}, 0, "child.exe");
    const Story story = Recorded();
    const std::size_t child = recorder.ProcessOf(0x30);
    ASSERT_NE(child, noIndex);
    EXPECT_EQ(story.processes[child].imageName, L"child.exe");
    EXPECT_TRUE(story.processes[child].isOfCapture);
    ASSERT_NE(recorder.ProcessOf(process), noIndex);
    EXPECT_EQ(story.processes[recorder.ProcessOf(process)].imageName, L"own.exe");
    EXPECT_FALSE(story.processes[0].isOfCapture);
}

TEST_F(StoryRecorderTest, TheTraceIsBetweenTheMarks) {
    recorder.WatchMarks(L"\\REGISTRY\\Mark");
    recorder.BeginCapture();
    log.Process(process, thread);
    log.Create(thread, R"(\Registry\Machine)", software, {.realPath = R"(REGISTRY\Machine)"});
    const auto mark = [&] {
        log.Open(thread, R"(\REGISTRY\Mark 1)", 0, {.status = "OBJECT_NAME_NOT_FOUND"});
    };
    log.SetValue(thread, software, "before");
    mark();
    log.SetValue(thread, software, "during");
    mark();
    log.SetValue(thread, software, "after");
    const Story story = Recorded();
    ASSERT_EQ(story.operations.size(), 4U);
    EXPECT_EQ(story.operations[1].phase, StoryPhase::Before);
    EXPECT_EQ(story.operations[2].phase, StoryPhase::During);
    EXPECT_EQ(story.operations[3].phase, StoryPhase::After);
}

TEST_F(StoryRecorderTest, WithoutMarksThereIsNoTrace) {
    recorder.WatchMarks(L"\\REGISTRY\\Mark");
    recorder.BeginCapture();
    log.Process(process, thread);
    log.Create(thread, R"(\Registry\Machine)", software, {.realPath = R"(REGISTRY\Machine)"});
    Recorded();
    const Story story = recorder.Take();
    ASSERT_EQ(story.operations.size(), 1U);
    EXPECT_EQ(story.operations[0].phase, StoryPhase::During);
}

TEST_F(StoryRecorderTest, A64BitProcessIsInTheOtherViewBelowTheNode) {
    recorder.BeginCapture();
    log.Process(process, thread);
    log.Open(thread, R"(\Registry\Machine\Software)", software,
             {.realPath = R"(REGISTRY\Machine\Software\Wow6432Node)"});
    log.SetValue(thread, software, "v");
    const Story story = Recorded();
    ASSERT_EQ(story.operations.size(), 2U);
    EXPECT_TRUE(story.operations[1].isOtherView);
}

TEST_F(StoryRecorderTest, A32BitProcessIsInTheOtherViewWhereItAskedForIt) {
    constexpr std::uint32_t wide = 0x000F013F; // with KEY_WOW64_64KEY
    recorder.BeginCapture();
    log.Process(process, thread, RequestStory::machine32);
    log.Create(thread, R"(\Registry\Machine)", 8, {.status = "OBJECT_NAME_EXISTS"});
    log.Create(thread, R"(Software\Wide)", 12,
               {.parent = 8, .access = wide, .realPath = R"(REGISTRY\Machine\Software\Wide)"});
    log.SetValue(thread, 12, "v");
    log.Create(thread, R"(Software\Own)", 16,
               {.parent = 8, .realPath = R"(REGISTRY\Machine\Software\Wow6432Node\Own)"});
    log.SetValue(thread, 16, "v");
    const Story story = Recorded();
    ASSERT_EQ(story.operations.size(), 5U);
    EXPECT_TRUE(story.operations[2].isOtherView);
    EXPECT_FALSE(story.operations[4].isOtherView);
}

TEST_F(StoryRecorderTest, WhatTheSystemChangesIsMarked) {
    recorder.BeginCapture();
    second.SetSystemStart(SystemStart::Parse("8664\tset\t\\registry\\machine\\zone\tname\n"));
    log.FirstThread(process, thread);
    log.MapImage(thread, RequestStory::machine64);
    log.Create(thread, R"(\Registry\Machine)", software, {.status = "OBJECT_NAME_EXISTS"});
    log.Open(thread, "Zone", 8, {.parent = software, .realPath = R"(REGISTRY\Machine\Zone)"});
    log.SetValue(thread, 8, "Name");
    log.SetValue(thread, 8, "other");
    const Story story = Recorded();
    ASSERT_EQ(story.operations.size(), 2U);
    EXPECT_TRUE(story.operations[0].isSystems);
    EXPECT_FALSE(story.operations[1].isSystems);
}

} // namespace
} // namespace keyreap
