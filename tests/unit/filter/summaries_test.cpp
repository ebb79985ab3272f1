#include "hostlogger/filter/summaries.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace keyreap {
namespace {

// A log as the filter keeps it, with its summaries.
class SummariesTest : public testing::Test {
protected:
    void Line(const std::string& line) {
        const std::size_t start = log.size();
        log += line + '\n';
        summaries.Take(start, log);
    }

    void Mark(int number) {
        Line(R"(0024: open_key( parent=0000, access=00000101, name=L"\\REGISTRY\\Keyreap mark 32 )" +
             std::to_string(number) + "\" )");
    }

    void OpenedKey() {
        Line("0024: init_first_thread( )");
        Line("0024: init_first_thread() = 0 { pid=0020 }");
        Line(R"(0024: open_key( parent=0000, access=00000001, attributes=00000040, name=L"\\Registry\\A" ))");
        Line(R"(Open key REGISTRY\\A)");
        Line("0024: open_key() = 0 { hkey=0004 }");
    }

    void ManyLines() {
        for (int i = 0; i < 100; ++i) {
            Line("0024: close_handle( handle=0100 )");
            Line("0024: close_handle() = INVALID_HANDLE");
        }
    }

    std::size_t Count(std::string_view text) const {
        std::size_t count = 0;
        for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) {
            ++count;
        }
        return count;
    }

    std::string log;
    Summaries summaries;
};

TEST_F(SummariesTest, AMarkHasASummaryAheadOfIt) {
    OpenedKey();
    ManyLines();
    const std::size_t before = log.size();
    Mark(1);
    EXPECT_EQ(log.find("summary of \\REGISTRY\\Keyreap mark 32 1\n"), before);
    const std::size_t end = log.find("end of summary\n");
    ASSERT_NE(end, std::string::npos);
    EXPECT_LT(log.find(R"(Open key REGISTRY\\A)", before), end);
    EXPECT_GT(log.find("Keyreap mark 32 1\" )"), end);
}

TEST_F(SummariesTest, OtherRequestsHaveNone) {
    OpenedKey();
    ManyLines();
    EXPECT_EQ(Count("summary"), 0U);
}

TEST_F(SummariesTest, ManyMarksDoNotFillTheLog) {
    OpenedKey();
    ManyLines();
    const std::size_t lines = log.size();
    constexpr std::size_t marks = 1000;
    constexpr std::size_t longestMark = 100;
    for (std::size_t number = 0; number < marks; ++number) {
        Mark(static_cast<int>(number));
    }
    EXPECT_GT(Count("end of summary"), 1U);
    EXPECT_LT(log.size(), 2 * (lines + marks * longestMark) + 1000);
}

TEST_F(SummariesTest, AfterTheRegistryHadToBeAskedThereAreNone) {
    OpenedKey();
    ManyLines();
    Line(R"(0024: create_key( access=00000001, objattr={rootdir=0004,name=L"B"}, class=L"" ))");
    Line("0024: create_key() = OBJECT_NAME_EXISTS { hkey=0008 }");
    Mark(1);
    EXPECT_EQ(Count("end of summary"), 1U);
    Line(R"(0024: rename_key( hkey=0008, name=L"C" ))");
    Line("0024: rename_key() = 0");
    Mark(2);
    EXPECT_EQ(Count("end of summary"), 1U);
}

} // namespace
} // namespace keyreap
