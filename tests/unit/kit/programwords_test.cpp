#include "kit/programwords.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(CommandLineOf, WordsAreQuoted) {
    EXPECT_EQ(CommandLineOf({L"C:\\a b.exe", L"", L"c"}), L"\"C:\\a b.exe\" \"\" \"c\"");
    EXPECT_EQ(CommandLineOf({}), L"");
}

TEST(CommandLineOf, AQuotationMarkHasABackslash) {
    EXPECT_EQ(CommandLineOf({L"a\"b"}), L"\"a\\\"b\"");
}

TEST(CommandLineOf, BackslashesAheadOfAQuotationMarkAreDoubled) {
    EXPECT_EQ(CommandLineOf({L"HKCR\\A\\"}), L"\"HKCR\\A\\\\\"");
    EXPECT_EQ(CommandLineOf({L"a\\\\\"b"}), L"\"a\\\\\\\\\\\"b\"");
}

} // namespace
} // namespace keyreap
