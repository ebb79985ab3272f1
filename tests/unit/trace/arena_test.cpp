#include "trace/arena.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Arena, ATextOutlivesItsOriginal) {
    Arena arena;
    std::vector<std::wstring_view> kept;
    for (int i = 0; i < 10'000; ++i) {
        kept.push_back(arena.Keep(std::to_wstring(i)));
    }
    for (int i = 0; i < 10'000; ++i) {
        EXPECT_EQ(kept[static_cast<std::size_t>(i)], std::to_wstring(i));
    }
}

TEST(Arena, NulsInsideATextBelongToIt) {
    const std::wstring withNul(L"a\0b", 3);
    EXPECT_EQ(Arena().Keep({}), L"");
    Arena arena;
    EXPECT_EQ(arena.Keep(withNul), withNul);
}

TEST(Arena, ObjectsStayAtTheirAddress) {
    Arena arena;
    std::vector<const int*> made;
    for (int i = 0; i < 100'000; ++i) {
        made.push_back(arena.Make<int>(i));
    }
    for (int i = 0; i < 100'000; ++i) {
        ASSERT_EQ(*made[static_cast<std::size_t>(i)], i);
    }
}

TEST(Arena, ObjectsOfAnySizeAreAligned) {
    Arena arena;
    for (int i = 0; i < 100; ++i) {
        arena.Make<char>('a');
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(arena.Make<std::uint64_t>(1U)) % alignof(std::uint64_t),
                  0U);
    }
    EXPECT_EQ(arena.Keep(std::wstring(1'000'000, L'x')).size(), 1'000'000U);
}

class ArenaListTest : public testing::Test {
protected:
    Arena arena;
    ArenaList<int> list;
};

TEST_F(ArenaListTest, IsEmptyAtFirst) {
    EXPECT_TRUE(list.empty());
    EXPECT_THAT(list, IsEmpty());
}

TEST_F(ArenaListTest, HoldsWhatWasAddedInItsOrder) {
    std::vector<int> expected(1000);
    std::iota(expected.begin(), expected.end(), 0);
    for (const int number : expected) {
        list.Add(number, arena);
        EXPECT_EQ(list.back(), number);
    }
    EXPECT_THAT(list, testing::ElementsAreArray(expected));
    EXPECT_EQ(list[999], 999);
}

TEST_F(ArenaListTest, AnElementOfTheListCanBeAddedWhileItGrows) {
    list.Add(7, arena);
    for (int i = 0; i < 100; ++i) {
        list.Add(list[0], arena);
    }
    EXPECT_THAT(list, testing::Each(7));
}

TEST_F(ArenaListTest, TheLastElementOrAllElementsCanBeRemoved) {
    list.Add(1, arena);
    list.Add(2, arena);
    list.RemoveLast();
    EXPECT_THAT(list, ElementsAre(1));
    list.Clear();
    EXPECT_THAT(list, IsEmpty());
    list.Add(3, arena);
    EXPECT_THAT(list, ElementsAre(3));
}

TEST_F(ArenaListTest, FillingReplacesAllElements) {
    list.Add(1, arena);
    list.Fill(3, 9, arena);
    EXPECT_THAT(list, ElementsAre(9, 9, 9));
    list.Fill(100, 8, arena);
    EXPECT_THAT(list, testing::AllOf(testing::SizeIs(100), testing::Each(8)));
    list.Fill(2, 7, arena);
    EXPECT_THAT(list, ElementsAre(7, 7));
}

} // namespace
} // namespace keyreap
