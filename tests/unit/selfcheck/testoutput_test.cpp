#include "tools/selfcheck/testoutput.h"

#include <gmock/gmock.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// As the program has them: its sources and the expressions in them.
constexpr char program[] = "\0tests/unit/os/some_test.cpp\0Sum(1, 2)\0Expected equality of these values:\0";
const std::string_view programBytes(program, sizeof(program));

SuiteResults Read(std::string_view output) {
    return ReadTestOutput(output, programBytes);
}

const std::string failing = "[ RUN      ] Some.Test\r\n"
                            "tests/unit/os/some_test.cpp:25: Failure\r\n"
                            "Expected equality of these values:\r\n"
                            "  Sum(1, 2)\r\n"
                            "    Which is: 4\r\n"
                            "  3\r\n"
                            "C:\\Users\\A Person\\file\r\n"
                            "Expected\r\n"
                            "some_test\r\n"
                            "    Which is: L\"A Person\"\r\n"
                            "A Person/tests.cpp:7: Failure\r\n"
                            "tests/unit/os/some_test.cpp A Person:7: Failure\r\n"
                            "[  FAILED  ] Some.Test (3 ms)\r\n";

TEST(TestOutput, EachTestHasItsResult) {
    const SuiteResults results = Read("[==========] Running 2 tests from 1 test suite.\n"
                                      "[ RUN      ] Some.First\n[       OK ] Some.First (0 ms)\n"
                                      "[ RUN      ] In/Some.Second/x64\n"
                                      "[  FAILED  ] In/Some.Second/x64, where GetParam() = x64 (1 ms)\n"
                                      "[==========] 2 tests from 1 test suite ran. (1 ms total)\n"
                                      "[  PASSED  ] 1 test.\n[  FAILED  ] 1 test, listed below:\n"
                                      "[  FAILED  ] In/Some.Second/x64, where GetParam() = x64\n");
    ASSERT_EQ(results.tests.size(), 2U);
    EXPECT_EQ(results.tests[0].name, "Some.First");
    EXPECT_TRUE(results.tests[0].hasPassed);
    EXPECT_EQ(results.tests[1].name, "In/Some.Second/x64");
    EXPECT_FALSE(results.tests[1].hasPassed);
    EXPECT_TRUE(results.isComplete);
    EXPECT_EQ(results.unfinished, "");
}

TEST(TestOutput, OfAFailureOnlyTheProgramsOwnLinesAndNumbersAreKept) {
    const SuiteResults results = Read(failing);
    ASSERT_EQ(results.tests.size(), 1U);
    EXPECT_THAT(results.tests[0].lines,
                ElementsAre("tests/unit/os/some_test.cpp:25: Failure",
                            "Expected equality of these values:", "Sum(1, 2)", "Which is: 4"));
}

TEST(TestOutput, LinesOfATestThatPassedAreNotKept) {
    const SuiteResults results = Read("[ RUN      ] Some.Test\nSum(1, 2)\n[       OK ] Some.Test (0 ms)\n"
                                      "[ RUN      ] Some.Other\n[  FAILED  ] Some.Other (0 ms)\n");
    EXPECT_THAT(results.tests[0].lines, IsEmpty());
    EXPECT_THAT(results.tests[1].lines, IsEmpty());
}

TEST(TestOutput, ATestThatWasSkippedHasNotPassed) {
    EXPECT_FALSE(Read("[ RUN      ] Some.Test\n[  SKIPPED ] Some.Test (0 ms)\n").tests.at(0).hasPassed);
}

TEST(TestOutput, OutputThatBreaksOffIsNotCompleteAndNamesTheTestThatRan) {
    const SuiteResults results =
        Read("[==========] Running 2 tests from 1 test suite.\n"
             "[ RUN      ] Some.First\n[       OK ] Some.First (0 ms)\n[ RUN      ] Some.Second\n");
    EXPECT_FALSE(results.isComplete);
    EXPECT_EQ(results.unfinished, "Some.Second");
    EXPECT_EQ(results.tests.size(), 1U);
}

TEST(TestOutput, EmptyOutputHasNoTests) {
    EXPECT_THAT(Read("").tests, IsEmpty());
    EXPECT_FALSE(Read("").isComplete);
}

} // namespace
} // namespace keyreap
