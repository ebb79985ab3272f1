#include "tools/capturecheck/commandwords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

CommandWords WordsOf(std::vector<std::string> words) {
    return CommandWords(words);
}

std::vector<std::string> RemarkedNames(std::vector<std::string> words) {
    std::vector<std::string> names;
    for (const Remark& remark : RemarksOn(WordsOf(std::move(words)))) {
        names.push_back(remark.name);
    }
    return names;
}

TEST(CommandWordsTest, FormPairsAfterTheVerb) {
    const CommandWords words = WordsOf({"extreg", "a", "b", "c", "d"});
    ASSERT_EQ(words.Pairs().size(), 2u);
    EXPECT_EQ(words.Pairs()[1].input, "c");
    EXPECT_EQ(words.Pairs()[1].output, "d");
    EXPECT_EQ(words.Mode(), "both");
    EXPECT_FALSE(WordsOf({"Extreg", "a", "b"}).CapturesAnything());
    EXPECT_FALSE(WordsOf({"extreg", "trace"}).CapturesAnything());
    EXPECT_FALSE(WordsOf({}).CapturesAnything());
}

TEST(CommandWordsTest, EndWithTheModeIfTheirNumberIsOdd) {
    EXPECT_EQ(WordsOf({"extreg", "a", "b", "KEYREDIR"}).Mode(), "keyRedir");
    EXPECT_EQ(WordsOf({"extreg", "a", "b", "trace"}).Mode(), "trace");
    EXPECT_EQ(WordsOf({"extreg", "a", "b", "else"}).Mode(), "both");
}

TEST(RemarksTest, AreEmptyForWordsThatAreMeantSo) {
    EXPECT_THAT(RemarkedNames({"extreg", "a.dll", "a.reg", "trace"}), IsEmpty());
    EXPECT_THAT(RemarkedNames({"extreg", "a.dll", "a.reg"}), IsEmpty());
}

TEST(RemarksTest, NameTheWordThatWasUnderstoodOtherwise) {
    EXPECT_THAT(RemarkedNames({"extreg", "a.dll", "a.reg", "else"}), ElementsAre("else"));
    EXPECT_THAT(RemarkedNames({"extreg", "a.dll", "a.reg", "b.dll"}), ElementsAre("b.dll"));
    EXPECT_THAT(RemarkedNames({"extreg", "a.dll", "KeyRedir"}), ElementsAre("KeyRedir"));
    EXPECT_THAT(RemarkedNames({"extreg", "--mode", "a.dll", "-o", "b.reg"}), ElementsAre("--mode", "-o"));
}

TEST(WhyNothingTest, NamesWhatIsMissing) {
    EXPECT_THAT(WhyNothing(WordsOf({"EXTREG", "a", "b"})).text, HasSubstr("small letters"));
    EXPECT_THAT(WhyNothing(WordsOf({"--version"})).text, HasSubstr("only verb is extreg"));
    EXPECT_THAT(WhyNothing(WordsOf({"extreg"})).text, HasSubstr("no files"));
    EXPECT_THAT(WhyNothing(WordsOf({"extreg", "both"})).text, HasSubstr("a mode"));
    EXPECT_THAT(WhyNothing(WordsOf({"extreg", "a.dll"})).text, HasSubstr("needs a file to write"));
}

} // namespace
} // namespace keyreap
