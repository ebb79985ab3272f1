#include "hostlogger/filter/mixedreport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace keyreap {
namespace {

namespace fs = std::filesystem;

class MixedReportTest : public testing::Test {
protected:
    MixedReportTest() { fs::create_directory(folder); }
    ~MixedReportTest() override { fs::remove_all(folder); }

    std::string Content() const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const fs::path folder =
        fs::path(testing::TempDir()) / ("mixedreport." + std::to_string(std::random_device()()));
    const fs::path path = folder / "names";
};

TEST_F(MixedReportTest, HasALineForEachName) {
    WriteNames({L"HKEY_USERS\\A", L"HKEY_USERS\\B"}, path.string());
    EXPECT_EQ(Content(), "HKEY_USERS\\A\nHKEY_USERS\\B\n");
}

TEST_F(MixedReportTest, WithoutANameThereIsNoFile) {
    WriteNames({}, path.string());
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(MixedReportTest, IsEmptyForALogThatMakesNoNode) {
    KeptFile log((folder / "log").string());
    EXPECT_TRUE(FindMixedKeys(log).empty());
    log.Write("0024: close_handle() = 0\nCreate key REGISTRY\\\\Machine\\\\Software\\\\Wow6432Node\n");
    EXPECT_TRUE(FindMixedKeys(log).empty());
}

TEST(LineOfName, IsUtf8) {
    EXPECT_EQ(LineOfName(L"a\u00E9\u20AC"), "a\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(LineOfName(std::wstring(1, L'\x7F') + L'\x80' + L'\x7FF' + L'\x800' + L'\xFFFF'),
              "??\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
}

TEST(LineOfName, JoinsThePairsOfUtf16AndReplacesLoneHalves) {
    const wchar_t high = 0xD83D;
    const wchar_t low = 0xDE00;
    EXPECT_EQ(LineOfName(std::wstring{high, low}), "\xF0\x9F\x98\x80");
    EXPECT_EQ(LineOfName(std::wstring{high, L'a', low, high}), "?a??");
}

TEST(LineOfName, IsOneLineWhateverTheNameContains) {
    EXPECT_EQ(LineOfName(std::wstring{L'a', L'\n', L'\r', L'\x1B', 0x85, 0x2028, 0x2029, L'b'}), "a??????b");
}

} // namespace
} // namespace keyreap
