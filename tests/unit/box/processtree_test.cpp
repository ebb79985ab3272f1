#include "tests/unit/box/foldertest.h"
#include "tools/box/processtree.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

class ProcessTreeTest : public FolderTest {
protected:
    // A process with one thread, these children, and kilobytes of its own and of shared memory.
    void MakeProcess(int number, const std::string& children, int own = 0, int shared = 0) const {
        const std::string name = std::to_string(number);
        MakeFile(name + "/task/" + name + "/children", children);
        MakeFile(name + "/status", "Name:\tRssAnon: 7\nVmRSS:\t900 kB\nRssAnon:\t" + std::to_string(own) +
                                       " kB\nRssFile:\t800 kB\nRssShmem:\t" + std::to_string(shared) +
                                       " kB\n");
    }

    TreeUse Use(int first, std::uint64_t ceiling = 0) const {
        return UseOfTree(folder.string(), first, ceiling);
    }
    static std::uint64_t Kilobytes(std::uint64_t count) { return count * 1024; }
};

TEST_F(ProcessTreeTest, DescendantsCountAndOthersDoNot) {
    MakeProcess(1, "2 3 ", 5, 1);
    MakeProcess(2, "", 3, 1);
    MakeProcess(3, "4 ", 3, 1);
    MakeProcess(4, "", 3, 1);
    MakeProcess(9, "", 100, 1);
    EXPECT_EQ(Use(1).threads, 4U);
    EXPECT_EQ(Use(1).memory, Kilobytes(18));
}

TEST_F(ProcessTreeTest, EachThreadCounts) {
    MakeProcess(1, "");
    MakeFile("1/task/5/children", "6 ");
    MakeProcess(6, "");
    EXPECT_EQ(Use(1).threads, 3U);
}

TEST_F(ProcessTreeTest, AProcessThatHasEndedCountsNothing) {
    MakeProcess(1, "2 ", 5, 1);
    EXPECT_EQ(Use(1).memory, Kilobytes(6));
    EXPECT_EQ(Use(7).threads, 0U);
}

TEST_F(ProcessTreeTest, ANumberThatComesAgainEndsTheWalk) {
    MakeProcess(1, "2 ");
    MakeProcess(2, "1 ");
    EXPECT_EQ(Use(1).threads, 2U);
}

TEST_F(ProcessTreeTest, TheWalkEndsAboveTheCeiling) {
    for (int i = 1; i < 100; i++) {
        MakeProcess(i, std::to_string(i + 1) + " ");
    }
    EXPECT_EQ(Use(1, 10).threads, 11U);
}

} // namespace
} // namespace keyreap
