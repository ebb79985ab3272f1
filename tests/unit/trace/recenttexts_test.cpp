#include "trace/recenttexts.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace keyreap {
namespace {

class RecentTextsTest : public testing::Test {
protected:
    Arena arena;
    RecentTexts texts{arena};
};

TEST_F(RecentTextsTest, ATextOutlivesItsOriginal) {
    std::vector<std::wstring_view> kept;
    std::vector<std::wstring_view> paths;
    for (int i = 0; i < 10'000; ++i) {
        kept.push_back(texts.Keep(std::to_wstring(i)));
        paths.push_back(texts.KeepPath(L"Key\\" + std::to_wstring(i)));
    }
    for (int i = 0; i < 10'000; ++i) {
        EXPECT_EQ(kept[static_cast<std::size_t>(i)], std::to_wstring(i));
        EXPECT_EQ(paths[static_cast<std::size_t>(i)], L"Key\\" + std::to_wstring(i));
    }
}

TEST_F(RecentTextsTest, TheSameTextIsKeptOnce) {
    EXPECT_EQ(texts.Keep(L"Name").data(), texts.Keep(L"Name").data());
    EXPECT_NE(texts.Keep(L"Name").data(), texts.Keep(L"name").data());
}

TEST_F(RecentTextsTest, APathSharesItsCopyWithTheOneThatEndsWithABackslash) {
    for (const std::wstring_view name : {L"CLSID", L"Key\\CLSID", L"a"}) {
        const std::wstring with = std::wstring(name) + L'\\';
        const std::wstring_view first = texts.KeepPath(with);
        EXPECT_EQ(first, with);
        EXPECT_EQ(texts.KeepPath(name), name);
        EXPECT_EQ(texts.KeepPath(name).data(), first.data());
    }
}

TEST_F(RecentTextsTest, OnlyOneBackslashAtTheEndIsShared) {
    for (const std::wstring_view path :
         {L"", L"\\", L"\\\\", L"Key", L"Key\\", L"Key\\\\", L"Key\\\\\\", L"Key\\\\"}) {
        EXPECT_EQ(texts.KeepPath(path), path);
    }
}

TEST_F(RecentTextsTest, NulsInsideATextBelongToIt) {
    const std::wstring withNul(L"a\0b", 3);
    EXPECT_EQ(texts.Keep(L"a"), L"a");
    EXPECT_EQ(texts.Keep(withNul), withNul);
    EXPECT_EQ(texts.KeepPath(withNul), withNul);
}

} // namespace
} // namespace keyreap
