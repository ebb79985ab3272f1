#include "tools/observer/splitter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DebugSplitterTest : public testing::Test {
protected:
    std::string Split(std::string_view bytes, bool more = false) { return splitter.Split(bytes, more); }

    std::vector<std::string> lines;
    DebugSplitter splitter{[this](std::string_view line) { lines.emplace_back(line); }};
};

TEST_F(DebugSplitterTest, LinesOfTheChannelsAreTakenOut) {
    EXPECT_EQ(Split("one\n0020:0024:trace:seh:raise (22)\ntwo\n0020:0024:err:dbghelp:x y\n"), "one\ntwo\n");
    EXPECT_THAT(lines, ElementsAre("0020:0024:trace:seh:raise (22)", "0020:0024:err:dbghelp:x y"));
}

TEST_F(DebugSplitterTest, WhatAProgramLeftOpenBeforeALineOfWinesStays) {
    EXPECT_EQ(Split("open abc0020:0024:warn:loaddll:x\nend"), "open abcend");
    EXPECT_THAT(lines, ElementsAre("0020:0024:warn:loaddll:x"));
}

TEST_F(DebugSplitterTest, OtherTextIsThePrograms) {
    const std::string text = "0020:0024:trace:heap:x\n020:0024:trace:seh:x\n0020:024:trace:seh:x\n"
                             "0020:00024:trace:seh:x\n0020:0024:note:seh:x\n0024:trace:seh:x\n::\n0020:0024";
    EXPECT_EQ(Split(text), text);
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(DebugSplitterTest, BytesCutAnywhereGiveTheSame) {
    const std::string text = "one\n0020:0024:trace:loaddll:build_module x\nab0020:0024:fixme:seh:y\n\xff\0z";
    for (std::size_t cut = 0; cut <= text.size(); ++cut) {
        lines.clear();
        std::string own = Split(text.substr(0, cut), true);
        own += Split(text.substr(cut));
        EXPECT_EQ(own, "one\nab\xff") << cut;
        EXPECT_THAT(lines, ElementsAre("0020:0024:trace:loaddll:build_module x", "0020:0024:fixme:seh:y"))
            << cut;
    }
}

TEST_F(DebugSplitterTest, AnOpenLineComesAtOnceWhenThereIsNoMore) {
    EXPECT_EQ(Split("a question? "), "a question? ");
    EXPECT_EQ(Split(std::string(100, 'x') + "0020:0024:tra", true), std::string(65, 'x'));
}

} // namespace
} // namespace keyreap
