#include "platform/core/framelocation.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(SplitFrameLocation, GivesTheFileAndTheLine) {
    const FrameLocation location = SplitFrameLocation(L"server.cpp:42");
    EXPECT_EQ(location.file, L"server.cpp");
    EXPECT_EQ(location.line, 42u);
}

TEST(SplitFrameLocation, StripsBlanksRoundEither) {
    const FrameLocation location = SplitFrameLocation(L" \tserver.cpp\r : \t42 \r\n");
    EXPECT_EQ(location.file, L"server.cpp");
    EXPECT_EQ(location.line, 42u);
}

TEST(SplitFrameLocation, WithoutALineGivesLineZero) {
    const FrameLocation location = SplitFrameLocation(L"server.cpp");
    EXPECT_EQ(location.file, L"server.cpp");
    EXPECT_EQ(location.line, 0u);
}

TEST(SplitFrameLocation, AnEmptyTextGivesAnEmptyFile) {
    EXPECT_EQ(SplitFrameLocation(L"").file, L"");
}

TEST(FirstFrameLocation, IsThatOfTheFirstFrameWithALine) {
    const auto location = FirstFrameLocation(L"header\r\n[0x1]  -----\r\n"
                                             L"[0x2]  first() -> first.cpp:7\r\n"
                                             L"[0x3]  second() -> second.cpp:8\r\n");
    ASSERT_TRUE(location);
    EXPECT_EQ(location->file, L"first.cpp");
    EXPECT_EQ(location->line, 7u);
}

TEST(FirstFrameLocation, ThereIsNoneWithoutAnArrow) {
    EXPECT_FALSE(FirstFrameLocation(L"header\r\n[0x1]  -----\r\n"));
    EXPECT_FALSE(FirstFrameLocation(L""));
}

} // namespace
} // namespace keyreap
