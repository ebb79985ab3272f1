#include "tests/unit/box/foldertest.h"
#include "tools/box/bubblewrap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace keyreap {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::IsSupersetOf;
using testing::Not;
using Words = std::vector<std::string>;

class BubblewrapTest : public FolderTest {
protected:
    BubblewrapTest() {
        MakeFolder("prefix/notes");
        words.prefix = Path("prefix");
    }

    Words Made(bool hasUsers = true) const { return BubblewrapWords(words, hasUsers); }

    // Whether these words follow each other.
    static bool Has(const Words& all, const Words& some) {
        return std::search(all.begin(), all.end(), some.begin(), some.end()) != all.end();
    }

    BoxWords words;
};

TEST_F(BubblewrapTest, NothingIsSharedWithTheMachine) {
    EXPECT_THAT(Made(), IsSupersetOf({"--unshare-pid", "--unshare-net", "--unshare-ipc", "--unshare-uts",
                                      "--unshare-user", "--disable-userns", "--new-session",
                                      "--die-with-parent", "--clearenv"}));
    EXPECT_TRUE(Has(Made(), {"--cap-drop", "ALL"}));
}

TEST_F(BubblewrapTest, RootDoesWithoutAUserNamespace) {
    EXPECT_THAT(Made(false), AllOf(Not(Contains("--unshare-user")), Not(Contains("--disable-userns"))));
}

TEST_F(BubblewrapTest, NoFolderOfProgramsIsSeen) {
    for (const char* folder :
         {"/usr", "/usr/bin", "/bin", "/sbin", "/etc", "/sys", "/run", "/home", "/root", "/var"}) {
        EXPECT_FALSE(Has(Made(), {folder, folder})) << folder;
    }
}

TEST_F(BubblewrapTest, OnlyThePrefixCanBeChanged) {
    Words all = Made();
    EXPECT_TRUE(Has(all, {"--bind", Path("prefix"), Path("prefix")}));
    EXPECT_EQ(std::count(all.begin(), all.end(), "--bind"), 1);
    EXPECT_TRUE(Has(all, {"--remount-ro", "/"}));
    EXPECT_TRUE(Has(all, {"--remount-ro", "/dev"}));
}

TEST_F(BubblewrapTest, TheKernelsSettingsCanOnlyBeRead) {
    const Words all = Made();
    EXPECT_TRUE(Has(all, {"--ro-bind-try", "/proc/sys", "/proc/sys"}));
    EXPECT_LT(std::find(all.begin(), all.end(), "/proc"), std::find(all.begin(), all.end(), "/proc/sys"));
}

TEST_F(BubblewrapTest, TheMachinesBootWordsAreHidden) {
    EXPECT_TRUE(Has(Made(), {"--ro-bind", "/dev/null", "/proc/cmdline"}));
}

TEST_F(BubblewrapTest, TheNotesOfTheScriptsAreHidden) {
    words.hidden = Path("prefix/notes");
    const Words all = Made();
    const auto prefix = std::find(all.begin(), all.end(), Path("prefix"));
    EXPECT_NE(std::find(prefix, all.end(), Path("prefix/notes")), all.end());
    EXPECT_TRUE(Has(all, {"--tmpfs", Path("prefix/notes")}));
}

TEST_F(BubblewrapTest, TemporaryFoldersHaveTheirCeiling) {
    words.ceilings.temporary = 1000;
    EXPECT_TRUE(Has(Made(), {"--size", "1000", "--tmpfs", "/tmp"}));
    EXPECT_TRUE(Has(Made(), {"--size", "1000", "--tmpfs", "/dev/shm"}));
}

TEST_F(BubblewrapTest, OnlyNamedVariablesOfTheCallerArePassed) {
    setenv("KEYREAP_TEST_PASSED", "a=b", 1);
    setenv("KEYREAP_TEST_SECRET", "secret", 1);
    words.passed = {"KEYREAP_TEST_PASSED", "KEYREAP_TEST_MISSING"};
    words.variables = {"HOME=/own"};
    const Words all = Made();
    EXPECT_TRUE(Has(all, {"--setenv", "KEYREAP_TEST_PASSED", "a=b"}));
    EXPECT_TRUE(Has(all, {"--setenv", "HOME", "/own"}));
    EXPECT_THAT(all, AllOf(Not(Contains("secret")), Not(Contains("KEYREAP_TEST_MISSING"))));
}

TEST_F(BubblewrapTest, ADisplayIsThereOnlyWhereItIsAskedFor) {
    setenv("DISPLAY", ":4711.0", 1);
    EXPECT_THAT(Made(), Not(Contains("DISPLAY")));
    words.hasDisplay = true;
    EXPECT_TRUE(Has(Made(), {"--setenv", "DISPLAY", ":4711.0"}));
    setenv("DISPLAY", "other.host:0", 1);
    EXPECT_THAT(Made(), Not(Contains("DISPLAY")));
    unsetenv("DISPLAY");
}

} // namespace
} // namespace keyreap
