#include "tools/selfcheck/suitelist.h"

#include <gmock/gmock.h>

namespace keyreap {
namespace {

using testing::ElementsAre;

TEST(Table, HasTheColumnsOfEachLineThatIsNoRemark) {
    EXPECT_THAT(ReadTable("# a remark\r\na\tb c\r\n\n-\t"),
                ElementsAre(ElementsAre("a", "b c"), ElementsAre("-", "")));
}

TEST(SuiteList, ASuiteIsRunOrHasItsReason) {
    const auto suites = ReadSuites("x64/unit_os\trun\t-\t-\nx64/other\tnot run\ta reason\t-\n"
                                   "x86/some\trun\tno logger\t*Logger*\n");
    ASSERT_EQ(suites.size(), 3U);
    EXPECT_EQ(suites[0].name, "x64/unit_os");
    EXPECT_TRUE(suites[0].isRun);
    EXPECT_EQ(suites[0].leftOut, "");
    EXPECT_FALSE(suites[1].isRun);
    EXPECT_EQ(suites[1].reason, "a reason");
    EXPECT_TRUE(suites[2].isRun);
    EXPECT_EQ(suites[2].leftOut, "*Logger*");
    EXPECT_EQ(suites[2].reason, "no logger");
}

TEST(CaptureList, NamesOfGoldenFilesHaveTheBitness) {
    const auto captures = ReadCaptures("a.dll\ta.reg\ta-{}.reg\t-\nb.exe\t-", "x86");
    ASSERT_EQ(captures.size(), 2U);
    EXPECT_EQ(captures[0].file, "a.dll");
    EXPECT_THAT(captures[0].golden, ElementsAre("a.reg", "a-x86.reg", ""));
    EXPECT_THAT(captures[1].golden, ElementsAre("", "", ""));
}

TEST(Sample, BeginsWithTheFirstAndTakesEveryStep) {
    EXPECT_TRUE(IsInSample(0, 10));
    EXPECT_FALSE(IsInSample(9, 10));
    EXPECT_TRUE(IsInSample(10, 10));
    EXPECT_TRUE(IsInSample(7, 1));
}

} // namespace
} // namespace keyreap
