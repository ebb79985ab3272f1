#include "tests/unit/box/foldertest.h"
#include "tools/box/controlgroup.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace keyreap {
namespace {

namespace fs = std::filesystem;

// The kernel makes a group's files; in a usual folder there are none, so these tests show what is asked for
// where there is no control group.
class ControlGroupTest : public FolderTest {
protected:
    static Ceilings Some() {
        Ceilings ceilings;
        ceilings.memory = 1 << 20;
        ceilings.threads = 10;
        return ceilings;
    }
};

TEST_F(ControlGroupTest, AGroupThatTakesNoCeilingIsRemovedAgain) {
    MakeFolder("memory/own");
    const ControlGroup group(folder.string(), "4:memory:/own\n0::/\n", Some());
    EXPECT_FALSE(group.HoldsMemory());
    EXPECT_TRUE(fs::is_empty(folder / "memory/own"));
}

TEST_F(ControlGroupTest, WithoutAHierarchyThereIsNoGroup) {
    for (const char* own :
         {"", "0::/nowhere\n", "no group", "4:memory\n", "4:memory:/nowhere\n8:pids:/nowhere\n"}) {
        const ControlGroup group(folder.string(), own, Some());
        EXPECT_FALSE(group.HoldsMemory()) << own;
        EXPECT_FALSE(group.RanOutOfMemory()) << own;
        group.Join();
    }
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(ControlGroupTest, OnThisMachineAGroupLeavesNothing) {
    std::ifstream file("/proc/self/cgroup");
    const std::string own{std::istreambuf_iterator<char>(file), {}};
    const std::string name = "keyreap-" + fs::read_symlink("/proc/self").string();
    const auto isThere = [&] {
        for (const auto* parent : {"/sys/fs/cgroup", "/sys/fs/cgroup/memory", "/sys/fs/cgroup/pids"}) {
            if (fs::exists(fs::path(parent) / name)) {
                return true;
            }
        }
        return false;
    };
    { const ControlGroup group("/sys/fs/cgroup", own, Some()); }
    EXPECT_FALSE(isThere());
}

} // namespace
} // namespace keyreap
