#include "platform/core/text/compare.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(CompareNames, IgnoresCaseBeyondTheAlphabet) {
    EXPECT_EQ(CompareNames(L"CLSID", L"clsid"), 0);
    EXPECT_EQ(CompareNames(L"\x00C4pfel", L"\x00E4PFEL"), 0);
}

TEST(CompareNames, OrdersAsTheSystemDoes) {
    EXPECT_LT(CompareNames(L"a", L"B"), 0);
    EXPECT_GT(CompareNames(L"B", L"a"), 0);
    EXPECT_LT(CompareNames(L"", L"a"), 0);
    // By words, not by units: a letter sorts after every punctuation mark.
    EXPECT_LT(CompareNames(L"_", L"A"), 0);
}

} // namespace
} // namespace keyreap
