#include "trace/sharedtext.h"

#include <gtest/gtest.h>

#include <string>

namespace keyreap {
namespace {

const wchar_t* UnitsOf(const SharedText& text) {
    return std::wstring_view(text).data();
}

TEST(SharedText, IsEmptyAtFirst) {
    EXPECT_TRUE(SharedText().empty());
    EXPECT_EQ(SharedText(), L"");
    EXPECT_EQ(SharedText(std::wstring()), SharedText());
}

TEST(SharedText, HoldsWhatItWasMadeFromAfterThatIsGone) {
    std::wstring made = L"SOFTWARE\\Acme";
    const SharedText text = made;
    made.assign(made.size(), L'x');
    EXPECT_EQ(text, L"SOFTWARE\\Acme");
    EXPECT_EQ(text.size(), made.size());
    EXPECT_FALSE(text.empty());
}

TEST(SharedText, NulsInsideBelongToIt) {
    const std::wstring_view withNul(L"a\0b", 3);
    EXPECT_EQ(SharedText(withNul), withNul);
}

TEST(SharedText, CopiesShareTheText) {
    const SharedText first = L"SOFTWARE";
    const SharedText second = first;
    EXPECT_EQ(UnitsOf(second), UnitsOf(first));
}

TEST(SharedText, CopyOutlivesTheFirst) {
    SharedText first = L"SOFTWARE";
    const SharedText second = first;
    first = L"SYSTEM";
    EXPECT_EQ(second, L"SOFTWARE");
    EXPECT_EQ(first, L"SYSTEM");
}

TEST(SharedText, EqualTextsAreEqualWhetherSharedOrNot) {
    EXPECT_EQ(SharedText(L"a"), SharedText(L"a"));
    EXPECT_FALSE(SharedText(L"a") == SharedText(L"A"));
    EXPECT_FALSE(SharedText(L"a") == SharedText(L"ab"));
}

} // namespace
} // namespace keyreap
