#include "hostlogger/strictness.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(Strictness, AHostWithoutDescriptionIsAsItWas) {
    const Strictness strictness = Strictness::Parse("");
    EXPECT_FALSE(strictness.creations);
    EXPECT_FALSE(strictness.system);
    EXPECT_FALSE(strictness.outlives);
    EXPECT_FALSE(strictness.capitals);
    EXPECT_EQ(strictness.user, L"");
    EXPECT_EQ(strictness.startStatus, 0U);
    EXPECT_EQ(strictness.lostEvents, 0U);
}

TEST(Strictness, EachSwitchSetsItsOwnMemberAlone) {
    Strictness expected;
    expected.creations = true;
    EXPECT_EQ(Strictness::Parse("creations\n"), expected);
    expected = {};
    expected.system = true;
    EXPECT_EQ(Strictness::Parse("system\n"), expected);
    expected = {};
    expected.outlives = true;
    EXPECT_EQ(Strictness::Parse("outlives\n"), expected);
    expected = {};
    expected.capitals = true;
    EXPECT_EQ(Strictness::Parse("capitals\n"), expected);
    expected = {};
    expected.user = L"S-1-12-1-5-6";
    EXPECT_EQ(Strictness::Parse("user S-1-12-1-5-6\n"), expected);
    expected = {};
    expected.startStatus = 1450;
    EXPECT_EQ(Strictness::Parse("status 1450\n"), expected);
    expected = {};
    expected.lostEvents = 4294967295;
    EXPECT_EQ(Strictness::Parse("lost 4294967295\n"), expected);
}

TEST(Strictness, AllLinesCount) {
    const Strictness strictness = Strictness::Parse("creations\nsystem\nlost 3\nuser S-1-5-18");
    EXPECT_TRUE(strictness.creations);
    EXPECT_TRUE(strictness.system);
    EXPECT_FALSE(strictness.outlives);
    EXPECT_EQ(strictness.lostEvents, 3U);
    EXPECT_EQ(strictness.user, L"S-1-5-18");
}

TEST(Strictness, LinesOfAnyOtherFormHaveNoEffect) {
    for (const char* text :
         {"\n", "creation\n", "Creations\n", "creations \n", " system", "status\n", "status \n",
          "status 5x\n", "lost -1\n", "lost 4294967296\n", "users S-1-5-18\n"}) {
        EXPECT_EQ(Strictness::Parse(text), Strictness()) << text;
    }
}

} // namespace
} // namespace keyreap
