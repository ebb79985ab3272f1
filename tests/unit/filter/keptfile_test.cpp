#include "hostlogger/filter/keptfile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace keyreap {
namespace {

namespace fs = std::filesystem;

class KeptFileTest : public testing::Test {
protected:
    KeptFileTest() { fs::create_directory(folder); }
    ~KeptFileTest() override { fs::remove_all(folder); }

    std::string Content() const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const fs::path folder =
        fs::path(testing::TempDir()) / ("keptfile." + std::to_string(std::random_device()()));
    const fs::path path = folder / "kept.log";
};

TEST_F(KeptFileTest, IsCreatedWithItsFirstLine) {
    KeptFile file(path.string());
    EXPECT_FALSE(fs::exists(path));
    file.Write("");
    EXPECT_FALSE(fs::exists(path));
    file.Write("one\n");
    EXPECT_EQ(Content(), "one\n");
    file.Write("two\nthree\n");
    EXPECT_EQ(Content(), "one\ntwo\nthree\n");
}

TEST_F(KeptFileTest, IsEmptiedIfItExisted) {
    std::ofstream(path) << "of an earlier server\n";
    KeptFile file(path.string());
    file.Write("one\n");
    EXPECT_EQ(Content(), "one\n");
}

TEST_F(KeptFileTest, IsReadableToItsOwnerAlone) {
    KeptFile file(path.string());
    file.Write("one\n");
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(KeptFileTest, IsRemovedWithItsObject) {
    {
        KeptFile file(path.string());
        file.Write("one\n");
    }
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(KeptFileTest, ThatWasNeverCreatedRemovesNothing) {
    std::ofstream(path) << "somebody's\n";
    static_cast<void>(KeptFile(path.string()));
    EXPECT_EQ(Content(), "somebody's\n");
}

TEST_F(KeptFileTest, ThatCannotBeCreatedLosesItsLinesUntilItCan) {
    const fs::path deeper = folder / "later" / "kept.log";
    KeptFile file(deeper.string());
    file.Write("one\n");
    file.Write("two\n");
    fs::create_directory(deeper.parent_path());
    file.Write("three\n");
    std::ifstream kept(deeper);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), "lost\nthree\n");
}

TEST_F(KeptFileTest, OnAFullDeviceNothingFailsAndNothingWaits) {
    {
        KeptFile file("/dev/full");
        for (int count = 0; count < 100; ++count) {
            file.Write("one\n");
        }
    }
    EXPECT_TRUE(fs::exists("/dev/full"));
}

TEST_F(KeptFileTest, IsReadBackLineByLine) {
    KeptFile file(path.string());
    std::vector<std::string> lines;
    const auto take = [&](std::string_view line) { lines.emplace_back(line); };
    file.ForEachLine(take);
    EXPECT_TRUE(lines.empty());
    const std::string longLine(3'000'000, 'x');
    file.Write("one\n\n" + longLine + "\n");
    file.Write("two\n");
    file.ForEachLine(take);
    EXPECT_EQ(lines, (std::vector<std::string>{"one", "", longLine, "two"}));
}

} // namespace
} // namespace keyreap
