#include "kit/explain/storyprocesses.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(StoryProcesses, ALaterProcessMayHaveTheIdOfAnEarlierOne) {
    std::vector<StoryProcess> list;
    StoryProcesses processes(list);
    processes.Start(8, 4, L"first.exe", true);
    processes.Start(8, 8, L"second.exe", true);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(processes.Of(8), 1U);
    EXPECT_EQ(list[1].imageName, L"second.exe");
    EXPECT_EQ(list[1].parent, 0U);
}

TEST(StoryProcesses, AParentIsOneThatIsKnown) {
    std::vector<StoryProcess> list;
    StoryProcesses processes(list);
    processes.Start(8, 4, L"child.exe", true);
    EXPECT_EQ(list[0].parent, noIndex);
    EXPECT_EQ(processes.Of(4), noIndex);
}

TEST(StoryProcesses, OneThatWasNotStartedIsAddedOnce) {
    std::vector<StoryProcess> list;
    StoryProcesses processes(list);
    EXPECT_EQ(processes.Known(8), 0U);
    processes.Name(8, L"a.exe");
    EXPECT_EQ(processes.Known(8), 0U);
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0].imageName, L"a.exe");
    EXPECT_FALSE(list[0].isOfCapture);
}

TEST(CanBeImage, NamesAreEqualWhateverTheirCase) {
    EXPECT_TRUE(CanBeImage(L"SERVER.EXE", L"server.exe"));
    EXPECT_FALSE(CanBeImage(L"server2.exe", L"server.exe"));
    EXPECT_FALSE(CanBeImage(L"", L"server.exe"));
}

TEST(CanBeImage, ANameMayBeCutOff) {
    EXPECT_TRUE(CanBeImage(L"a very long na", L"a very long name.exe"));
    EXPECT_TRUE(CanBeImage(L"a very long nam", L"a very long name.exe"));
    EXPECT_FALSE(CanBeImage(L"a very long n", L"a very long name.exe"));
    EXPECT_FALSE(CanBeImage(L"a very long name", L"a very long name.exe"));
}

TEST(CanBeImage, NarrowTextHasQuestionMarks) {
    EXPECT_TRUE(CanBeImage(L"?server.exe", L"\x4E00server.exe"));
    EXPECT_FALSE(CanBeImage(L"?server.exe", L"xserver.exe"));
}

} // namespace
} // namespace keyreap
