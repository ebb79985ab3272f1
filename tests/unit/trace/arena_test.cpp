#include "tests/support/allocationcount.h"
#include "trace/arena.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace keyreap {
namespace {

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

TEST(Arena, ATextIsKeptWithAUnitAfterIt) {
    Arena arena;
    EXPECT_EQ(arena.KeepWith(L"Key", L'\\'), L"Key\\");
    EXPECT_EQ(arena.KeepWith({}, L'\\'), L"\\");
}

TEST(Arena, TheTextThatWasKeptLastIsMadeLonger) {
    Arena arena;
    const std::wstring_view kept = arena.Keep(L"Key");
    ASSERT_TRUE(arena.Extend(kept, L"\\Subkey"));
    EXPECT_EQ(std::wstring_view(kept.data(), 10), L"Key\\Subkey");
    ASSERT_TRUE(arena.Extend({kept.data(), 10}, L"\\Below"));
    const std::wstring_view other = arena.Keep(L"Other");
    EXPECT_EQ(std::wstring_view(kept.data(), 16), L"Key\\Subkey\\Below");
    EXPECT_EQ(other, L"Other");
}

TEST(Arena, NoOtherTextIsMadeLonger) {
    Arena arena;
    const std::wstring_view kept = arena.Keep(L"Key");
    const std::wstring_view other = arena.Keep(L"Other");
    EXPECT_FALSE(arena.Extend(kept, L"Subkey"));
    EXPECT_FALSE(arena.Extend(L"Other", L"Subkey"));
    const std::wstring_view large = arena.Keep(std::wstring(100'000, L'x'));
    EXPECT_FALSE(arena.Extend(large, L"y"));
    EXPECT_FALSE(arena.Extend(other, L"Subkey"));
    arena.Release();
    EXPECT_FALSE(arena.Extend(large, L"y"));
    EXPECT_FALSE(Arena().Extend({}, L"y"));
}

TEST(Arena, ATextWithoutUnitsIsNotMadeLonger) {
    Arena arena;
    arena.Keep(L"Before");
    const std::wstring_view empty = arena.Keep({});
    EXPECT_FALSE(arena.Extend(empty, L"y"));
    const std::wstring_view kept = arena.Keep(L"Key");
    EXPECT_FALSE(arena.Extend(empty, L"y"));
    arena.Keep(std::wstring(100'000, L'x'));
    EXPECT_FALSE(arena.Extend({}, L"y"));
    EXPECT_EQ(kept, L"Key");
}

TEST(Arena, ATextIsMadeLongerAsLongAsThereIsRoom) {
    Arena arena;
    std::wstring expected = L"Key";
    const std::wstring_view kept = arena.Keep(expected);
    std::wstring_view whole = kept;
    while (arena.Extend(whole, L"abcde")) {
        expected += L"abcde";
        whole = {kept.data(), whole.size() + 5};
        ASSERT_LT(whole.size(), 1'000'000U);
    }
    EXPECT_GT(whole.size(), 1000U);
    EXPECT_EQ(whole, expected);
    EXPECT_EQ(arena.Keep(L"Other"), L"Other");
    EXPECT_EQ(whole, expected);
}

TEST(Arena, TextsStayWhereTheyAreWhenItIsMoved) {
    Arena arena;
    const std::wstring_view kept = arena.Keep(L"Key");
    Arena moved = std::move(arena);
    EXPECT_EQ(kept, L"Key");
    EXPECT_TRUE(moved.Extend(kept, L"s"));
    EXPECT_FALSE(arena.Extend(kept, L"s")); // NOLINT(bugprone-use-after-move): it is empty
    const std::wstring_view next = moved.Keep(L"Next");
    EXPECT_EQ(arena.Keep(L"Other"), L"Other");
    EXPECT_EQ(std::wstring_view(kept.data(), 4), L"Keys");
    EXPECT_EQ(next, L"Next");
    moved = std::move(arena);
    EXPECT_EQ(moved.Keep(L"Last"), L"Last");
}

TEST(Arena, ALargeObjectHasAPieceOfItsOwn) {
    Arena arena;
    std::vector<std::wstring_view> kept;
    for (std::size_t i = 0; i < 300; ++i) {
        const std::size_t size = i % 3 == 0 ? 100 * i : i;
        kept.push_back(arena.Keep(std::wstring(size, static_cast<wchar_t>(L'a' + i % 26))));
    }
    for (std::size_t i = 0; i < 300; ++i) {
        const std::size_t size = i % 3 == 0 ? 100 * i : i;
        EXPECT_EQ(kept[i], std::wstring(size, static_cast<wchar_t>(L'a' + i % 26)));
    }
}

TEST(Arena, FreesEverythingAndTakesTextsAgain) {
    const std::size_t before = LiveAllocationCount();
    {
        Arena arena;
        for (int i = 0; i < 100'000; ++i) {
            arena.Make<int>(i);
        }
        arena.Keep(std::wstring(1'000'000, L'x'));
        EXPECT_GT(LiveAllocationCount(), before + 3);
        arena.Release();
        EXPECT_LE(LiveAllocationCount(), before + 1); // the list of pieces, which is empty
        EXPECT_EQ(arena.Keep(L"Key"), L"Key");
    }
    EXPECT_EQ(LiveAllocationCount(), before);
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

} // namespace
} // namespace keyreap
