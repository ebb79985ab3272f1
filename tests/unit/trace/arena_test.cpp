#include "tests/support/allocationcount.h"
#include "trace/arena.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
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
