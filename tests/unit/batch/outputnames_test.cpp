#include "kit/batch/outputnames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;

std::vector<std::string> NamesOf(const std::vector<BatchServer>& servers) {
    return OutputNames(servers);
}

TEST(OutputNamesTest, ACaptureHasTheNameOfItsServerWithoutTheEnding) {
    EXPECT_THAT(
        NamesOf({{"/b/one.dll", "one.dll"}, {"/b/sub/two.x.ocx", "sub/two.x.ocx"}, {"/b/plain", "plain"}}),
        ElementsAre("one.reg", "sub/two.x.reg", "plain.reg"));
}

TEST(OutputNamesTest, ANameThatBeginsWithAPointHasNoEnding) {
    EXPECT_THAT(NamesOf({{"/b.c/.dll", ".dll"}, {"/b/c.d/dll", "c.d/dll"}}),
                ElementsAre(".dll.reg", "c.d/dll.reg"));
}

TEST(OutputNamesTest, EqualNamesGetTheEndingOfTheirFiles) {
    EXPECT_THAT(NamesOf({{"/b/a.dll", "a.dll"}, {"/b/A.ocx", "A.ocx"}, {"/b/c.dll", "c.dll"}}),
                ElementsAre("a.dll.reg", "A.ocx.reg", "c.reg"));
}

TEST(OutputNamesTest, EqualNamesOfFilesGetAsManyFoldersAsItTakes) {
    EXPECT_THAT(NamesOf({{"/b/one/x/a.dll", "a.dll"}, {"/b/two/x/a.dll", "a.dll"}, {"/b/y/a.dll", "a.dll"}}),
                ElementsAre("one/x/a.dll.reg", "two/x/a.dll.reg", "y/a.dll.reg"));
}

TEST(OutputNamesTest, ALongerNameIsEqualToNoOtherOne) {
    EXPECT_THAT(NamesOf({{"/b/a.dll", "a.dll"}, {"/b/a.ocx", "a.ocx"}, {"/b/a.dll.exe", "a.dll.exe"}}),
                ElementsAre("b/a.dll.reg", "a.ocx.reg", "a.dll.exe.reg"));
}

TEST(OutputNamesTest, NamesThatDifferByCaseAloneGetNumbers) {
    EXPECT_THAT(NamesOf({{"/b/a.dll", "a.dll"}, {"/b/A.DLL", "A.DLL"}}),
                ElementsAre("b/a.dll.reg", "b/A.DLL.2.reg"));
}

TEST(OutputNamesTest, NoNameLeadsOutOfTheFolder) {
    EXPECT_THAT(NamesOf({{"/b/../a.dll", "../a.dll"}, {"/c/a.dll", "/c/a.dll"}}),
                ElementsAre("_/a.reg", "c/a.reg"));
}

} // namespace
} // namespace keyreap
