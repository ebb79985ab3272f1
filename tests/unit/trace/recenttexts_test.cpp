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
    for (int i = 0; i < 10'000; ++i) {
        kept.push_back(texts.Keep(L"Key\\" + std::to_wstring(i)));
    }
    for (int i = 0; i < 10'000; ++i) {
        EXPECT_EQ(kept[static_cast<std::size_t>(i)], L"Key\\" + std::to_wstring(i));
    }
}

TEST_F(RecentTextsTest, TheSameTextIsKeptOnce) {
    EXPECT_EQ(texts.Keep(L"Name").data(), texts.Keep(L"Name").data());
    EXPECT_NE(texts.Keep(L"Name").data(), texts.Keep(L"name").data());
}

TEST_F(RecentTextsTest, ATextSharesItsCopyWithTheOneThatEndsWithABackslash) {
    for (const std::wstring_view name : {L"", L"CLSID", L"Key\\CLSID", L"a"}) {
        const std::wstring with = std::wstring(name) + L'\\';
        for (int turn = 0; turn < 2; ++turn) {
            EXPECT_EQ(texts.Keep(name), name);
            EXPECT_EQ(texts.Keep(with), with);
            EXPECT_EQ(texts.Keep(name).data(), texts.Keep(with).data());
        }
    }
}

TEST_F(RecentTextsTest, OnlyOneBackslashAtTheEndIsShared) {
    for (const std::wstring_view path :
         {L"", L"\\", L"\\\\", L"Key", L"Key\\", L"Key\\\\", L"Key\\\\\\", L"Key\\\\"}) {
        EXPECT_EQ(texts.Keep(path), path);
    }
}

TEST_F(RecentTextsTest, NulsInsideATextBelongToIt) {
    const std::wstring withNul(L"a\0b", 3);
    EXPECT_EQ(texts.Keep(L"a"), L"a");
    EXPECT_EQ(texts.Keep(withNul), withNul);
}

} // namespace
} // namespace keyreap
