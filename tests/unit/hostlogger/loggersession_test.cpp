#include "hostlogger/loggersession.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

const StartedSession example = {{L"NT Kernel Logger", L"\\\\?\\C:\\T\x00E4mp\\ETL1.tmp", 2048, 2, true},
                                L"\\REGISTRY\\Keyreap mark 32 7",
                                9223372036854775807,
                                133000000000000000};

TEST(StartedSession, AsATextHasALinePerField) {
    EXPECT_EQ(TextOf(example), L"NT Kernel Logger\n\\\\?\\C:\\T\x00E4mp\\ETL1.tmp\n2048\n2\n1\n"
                               L"\\REGISTRY\\Keyreap mark 32 7\n9223372036854775807\n133000000000000000\n");
}

TEST(StartedSession, IsReadFromItsText) {
    EXPECT_EQ(ParseStartedSession(TextOf(example)), example);
    EXPECT_EQ(ParseStartedSession(TextOf({})), StartedSession());
}

TEST(StartedSession, IsNotReadFromATextThatLacksItsEnd) {
    const std::wstring text = TextOf(example);
    for (std::size_t size = 0; size < text.size(); ++size) {
        EXPECT_EQ(ParseStartedSession(text.substr(0, size)), std::nullopt) << size;
    }
}

TEST(StartedSession, IsNotReadFromATextWithMore) {
    EXPECT_EQ(ParseStartedSession(TextOf(example) + L"x"), std::nullopt);
}

TEST(StartedSession, HasNumbersThatFitTheirFields) {
    for (const wchar_t* number : {L"", L"-1", L"1 ", L"x", L"4294967296", L"99999999999999999999"}) {
        const std::wstring text = L"a\nb\n" + std::wstring(number) + L"\n2\n0\nm\n1\n1\n";
        EXPECT_EQ(ParseStartedSession(text), std::nullopt) << number;
    }
    EXPECT_EQ(ParseStartedSession(L"a\nb\n1\n2\n0\nm\n9223372036854775808\n1\n"), std::nullopt);
}

} // namespace
} // namespace keyreap
