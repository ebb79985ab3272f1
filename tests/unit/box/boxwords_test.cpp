#include "tools/box/boxwords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::Pair;

BoxWords Parsed(std::vector<std::string> words) {
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    return ParsedBoxWords(pointers);
}

std::vector<std::string> With(std::vector<std::string> more) {
    std::vector<std::string> words = {"--report", "r", "--prefix", "p", "--server", "s"};
    words.insert(words.end(), more.begin(), more.end());
    words.insert(words.end(), {"--", "program", "--see"});
    return words;
}

TEST(BoxWordsTest, EachOptionHasItsPlace) {
    const BoxWords words =
        Parsed(With({"--input", "i",        "--output", "o",         "--see", "a",         "--see",   "b",
                     "--write", "w",        "--env",    "TZ",        "--set", "A=B",       "--place", "file",
                     "path",    "--memory", "7",        "--threads", "8",     "--display", "--hide",  "h"}));
    EXPECT_THAT(words.inputs, ElementsAre("i"));
    EXPECT_THAT(words.outputs, ElementsAre("o"));
    EXPECT_THAT(words.seen, ElementsAre("a", "b"));
    EXPECT_THAT(words.changed, ElementsAre("w"));
    EXPECT_THAT(words.passed, ElementsAre("TZ"));
    EXPECT_THAT(words.variables, ElementsAre("A=B"));
    EXPECT_THAT(words.placed, ElementsAre(Pair("file", "path")));
    EXPECT_EQ(words.ceilings.memory, 7U);
    EXPECT_EQ(words.ceilings.threads, 8U);
    EXPECT_TRUE(words.hasDisplay);
    EXPECT_EQ(words.hidden, "h");
    EXPECT_FALSE(words.log.IsWanted());
}

TEST(BoxWordsTest, TheCommandsOwnWordsAreNotOptions) {
    EXPECT_THAT(Parsed(With({})).command, ElementsAre("program", "--see"));
}

TEST(BoxWordsTest, TheLogHasFourWords) {
    const RequestLog log = Parsed(With({"--log", "filter", "file", "mixed", "unplaced"})).log;
    EXPECT_TRUE(log.IsWanted());
    EXPECT_EQ(log.unplacedLines, "unplaced");
}

TEST(BoxWordsTest, UnknownAndMissingWordsAreRefused) {
    EXPECT_THROW(Parsed(With({"--sea", "a"})), std::invalid_argument);
    EXPECT_THROW(Parsed(With({"--memory", "1G"})), std::invalid_argument);
    EXPECT_THROW(Parsed({"--report"}), std::invalid_argument);
    EXPECT_THROW(Parsed({"--report", "r", "--prefix", "p", "--server", "s", "--"}), std::invalid_argument);
    EXPECT_THROW(Parsed({"--report", "r", "--prefix", "p", "--", "program"}), std::invalid_argument);
}

} // namespace
} // namespace keyreap
