#include "platform/core/stacktrace/framelocation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::FieldsAre;
using testing::Optional;

TEST(SplitFrameLocation, GivesTheFileAndTheLine) {
    EXPECT_THAT(SplitFrameLocation(L"server.cpp:42"), FieldsAre(L"server.cpp", 42u));
}

TEST(SplitFrameLocation, StripsBlanksRoundEither) {
    EXPECT_THAT(SplitFrameLocation(L" \tserver.cpp\r : \t42 \r\n"), FieldsAre(L"server.cpp", 42u));
}

TEST(SplitFrameLocation, OfThreePiecesTheFirstTwoCount) {
    const FrameLocation location = SplitFrameLocation(L"server.cpp:42:7");
    EXPECT_EQ(location.file, L"server.cpp");
    EXPECT_EQ(location.line, 42u);
    const FrameLocation onADrive = SplitFrameLocation(L"C:\\server.cpp:42");
    EXPECT_EQ(onADrive.file, L"C");
    EXPECT_EQ(onADrive.line, 0u);
}

TEST(SplitFrameLocation, WithoutALineGivesLineZero) {
    EXPECT_THAT(SplitFrameLocation(L"server.cpp"), FieldsAre(L"server.cpp", 0u));
}

TEST(SplitFrameLocation, AnEmptyTextGivesAnEmptyFile) {
    EXPECT_EQ(SplitFrameLocation(L"").file, L"");
}

TEST(FirstFrameLocation, IsThatOfTheFirstFrameWithALine) {
    EXPECT_THAT(FirstFrameLocation(L"header\r\n[0x1]  -----\r\n"
                                   L"[0x2]  first() -> first.cpp:7\r\n"
                                   L"[0x3]  second() -> second.cpp:8\r\n"),
                Optional(FieldsAre(L"first.cpp", 7u)));
}

TEST(FirstFrameLocation, IsMissingWithoutAnArrow) {
    EXPECT_FALSE(FirstFrameLocation(L"header\r\n[0x1]  -----\r\n"));
    EXPECT_FALSE(FirstFrameLocation(L""));
}

} // namespace
} // namespace keyreap
