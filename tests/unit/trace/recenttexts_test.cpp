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

TEST_F(RecentTextsTest, APathBelowTheLastOneBeginsWithItInMemory) {
    const std::wstring_view key = texts.Keep(L"CLSID\\{A}");
    const std::wstring_view subkey = texts.Keep(L"CLSID\\{A}\\InprocServer32");
    EXPECT_EQ(subkey.data(), key.data());
    EXPECT_EQ(texts.Keep(L"CLSID\\{A}\\InprocServer32\\"), L"CLSID\\{A}\\InprocServer32\\");
    const std::wstring_view other = texts.Keep(L"CLSID\\{A}\\ProgID");
    EXPECT_NE(other.data(), key.data());
    EXPECT_EQ(texts.Keep(L"CLSID\\{A}\\ProgID\\a"), L"CLSID\\{A}\\ProgID\\a");
    EXPECT_EQ(key, L"CLSID\\{A}");
    EXPECT_EQ(subkey, L"CLSID\\{A}\\InprocServer32");
    EXPECT_EQ(other, L"CLSID\\{A}\\ProgID");
}

TEST_F(RecentTextsTest, ALongerNameIsNotBelowAShorterOne) {
    for (const std::wstring_view path :
         {L"Key", L"Keys", L"Keys\\", L"Keys\\a", L"Key\\a", L"Key\\\\a", L"Key\\\\"}) {
        EXPECT_EQ(texts.Keep(path), path);
    }
}

TEST_F(RecentTextsTest, AfterForgettingTextsAreCopiedAgain) {
    texts.Keep(L"Key");
    arena.Release();
    texts.Forget();
    const std::wstring_view below = texts.Keep(L"Key\\a");
    const std::wstring_view again = texts.Keep(L"Key");
    EXPECT_EQ(below, L"Key\\a");
    EXPECT_EQ(again, L"Key");
    EXPECT_NE(below.data(), again.data());
}

TEST_F(RecentTextsTest, TheFirstTextMayBeginWithABackslash) {
    for (const std::wstring_view path : {L"\\", L"\\\\", L"\\a", L"\\ab", L"\\abc\\"}) {
        Arena own;
        RecentTexts first(own);
        EXPECT_EQ(first.Keep(path), path);
        EXPECT_EQ(first.Keep(L"Key"), L"Key");
    }
}

TEST_F(RecentTextsTest, NulsInsideATextBelongToIt) {
    const std::wstring withNul(L"a\0b", 3);
    EXPECT_EQ(texts.Keep(L"a"), L"a");
    EXPECT_EQ(texts.Keep(withNul), withNul);
}

} // namespace
} // namespace keyreap
