#include "hostlogger/filter/mixedkeys.h"
#include "tests/unit/hostlogger/requeststory.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using Names = std::vector<std::wstring>;

constexpr std::uint32_t THREAD = 0x24;
constexpr std::uint32_t HIVE = 4;
constexpr std::uint32_t FULL_64 = 0x000F013F; // KEY_ALL_ACCESS in the 64-bit view

const std::string TREE = R"(REGISTRY\User\S-1-5-21-0-0-0-1000\Software\Velmoro\Tesselink\Temporary\)";

// A process that runs and has the machine's key of the tree open, with the key Software below it.
class MixedKeysTest : public testing::Test {
protected:
    MixedKeysTest() { Begin(RequestStory::I386); }

    void Begin(const char* machine) {
        story.Process(0x20, THREAD, machine);
        story.Open(THREAD, '\\' + TREE + "HKLM", HIVE, {.access = FULL_64, .realPath = TREE + "HKLM"});
        Make("Software");
    }

    // A key that is made under the very name.
    void Make(const std::string& name) { MakeAs(name, name); }
    // A key that is made elsewhere in the machine's key.
    void MakeAs(const std::string& name, const std::string& place, std::uint32_t parent = HIVE) {
        story.Create(THREAD, name, 8, {.parent = parent, .realPath = TREE + "HKLM\\" + place});
    }
    // A key that is there, wherever the server finds it.
    void Find(const std::string& name, std::uint32_t handle = 8, std::uint32_t access = 0x2001F) {
        story.Create(THREAD, name, handle,
                     {.parent = HIVE, .access = access, .status = "OBJECT_NAME_EXISTS"});
    }
    void OpenInVain(const std::string& name, std::uint32_t access = 0x20019) {
        story.Open(THREAD, name, 0, {.parent = HIVE, .access = access, .status = "OBJECT_NAME_NOT_FOUND"});
    }
    void Delete(const std::string& place) {
        story.Open(THREAD, place, 8,
                   {.parent = HIVE, .access = FULL_64, .realPath = TREE + "HKLM\\" + place});
        story.DeleteKey(THREAD, 8);
    }

    Names Mixed() const {
        MixedKeys mixed;
        for (const std::string& line : story.lines) {
            mixed.Feed(line);
        }
        return mixed.Names();
    }

    RequestStory story;
};

const Names A = {L"HKEY_LOCAL_MACHINE\\Software\\A"};

TEST_F(MixedKeysTest, PlainKeysAheadOfTheNodeAreThemselves) {
    Make("Software\\A");
    story.SetValue(THREAD, 8, "");
    Find("Software\\A");
    Make("Software\\Wow6432Node");
    Make("Software\\Wow6432Node\\A");
    story.SetValue(THREAD, 8, "");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, APlainKeyMadeBelowTheNodeIsMixedUp) {
    Make("Software\\Wow6432Node");
    MakeAs("Software\\A", "Software\\Wow6432Node\\A");
    EXPECT_EQ(Mixed(), A);
}

TEST_F(MixedKeysTest, SoIsOneThatIsFoundThereAndNotUnderItsOwnName) {
    Make("Software\\Wow6432Node");
    Make("Software\\Wow6432Node\\A");
    Find("Software\\A");
    EXPECT_EQ(Mixed(), A);
}

TEST_F(MixedKeysTest, SoIsOneThatIsMadeLevelByLevel) {
    Make("Software\\Wow6432Node");
    Find("Software", 0x10);
    MakeAs("A", "Software\\Wow6432Node\\A", 0x10);
    EXPECT_EQ(Mixed(), A);
}

TEST_F(MixedKeysTest, ToPassThroughTheNodeIsNothing) {
    Make("Software\\Wow6432Node");
    Find("Software");
    story.Close(THREAD, 8);
    OpenInVain("Software\\A");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, OfTwoKeysTheWrongOneCountsOnceItIsUsed) {
    Make("Software\\A");
    Make("Software\\Wow6432Node");
    Make("Software\\Wow6432Node\\A");
    Find("Software\\A");
    EXPECT_EQ(Mixed(), Names());
    story.SetValue(THREAD, 8, "", "ACCESS_DENIED");
    EXPECT_EQ(Mixed(), Names());
    story.SetValue(THREAD, 8, "");
    EXPECT_EQ(Mixed(), A);
}

TEST_F(MixedKeysTest, AValueThatIsReadInTheWrongKeyCounts) {
    Make("Software\\A");
    Make("Software\\Wow6432Node");
    Make("Software\\Wow6432Node\\A");
    Find("Software\\A");
    story.QueryValue(THREAD, 8, "");
    EXPECT_EQ(Mixed(), A);
}

TEST_F(MixedKeysTest, AKeyThatIsThereAndMissedIsMixedUp) {
    Make("Software\\A");
    Make("Software\\Wow6432Node");
    OpenInVain("Software\\A");
    EXPECT_EQ(Mixed(), A);
}

TEST_F(MixedKeysTest, InThe64BitViewNoNameLeadsThroughTheNode) {
    Make("Software\\A");
    Make("Software\\Wow6432Node");
    Make("Software\\Wow6432Node\\A");
    Find("Software\\A", 8, FULL_64);
    story.SetValue(THREAD, 8, "");
    OpenInVain("Software\\A", FULL_64);
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, Of64BitProcessesNothingIsMixedUp) {
    Begin(RequestStory::AMD64);
    story.KillProcess(0x20);
    Begin(RequestStory::AMD64);
    Make("Software\\Wow6432Node");
    Find("Software\\A");
    story.SetValue(THREAD, 8, "");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, ASecondNodeThatTheHostMakesUpCountsToo) {
    Make("Software\\Wow6432Node");
    Find("Software", 0x10);
    MakeAs("Wow6432Node", "Software\\Wow6432Node\\Wow6432Node", 0x10);
    MakeAs("B", "Software\\Wow6432Node\\Wow6432Node\\B", 8);
    EXPECT_EQ(Mixed(), Names{L"HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\B"});
}

TEST_F(MixedKeysTest, SoDoesOneInTheLiveRegistry) {
    story.Open(THREAD, R"(\REGISTRY\Machine)", HIVE, {.realPath = R"(REGISTRY\Machine)"});
    story.Open(THREAD, "Software", 0x10,
               {.parent = HIVE, .realPath = R"(REGISTRY\Machine\Software\Wow6432Node)"});
    story.Create(THREAD, "Wow6432Node", 0x14,
                 {.parent = 0x10, .realPath = R"(REGISTRY\Machine\Software\Wow6432Node\Wow6432Node)"});
    story.Create(THREAD, "B", 8,
                 {.parent = 0x14, .realPath = R"(REGISTRY\Machine\Software\Wow6432Node\Wow6432Node\B)"});
    EXPECT_EQ(Mixed(), Names{L"HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\B"});
}

TEST_F(MixedKeysTest, ASecondNodeThatTheServerMeansIsNoMixture) {
    Make("Software\\Wow6432Node");
    Make("Software\\Wow6432Node\\Wow6432Node");
    Make("Software\\Wow6432Node\\Wow6432Node\\B");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, KeysAboveAMixedUpOneAreNotNamedBesideIt) {
    Make("Software\\Wow6432Node");
    MakeAs("Software\\A", "Software\\Wow6432Node\\A");
    MakeAs("Software\\a\\B", "Software\\Wow6432Node\\A\\B");
    MakeAs("Software\\AB", "Software\\Wow6432Node\\AB");
    story.SetValue(THREAD, 8, "");
    EXPECT_EQ(Mixed(), (Names{L"HKEY_LOCAL_MACHINE\\Software\\a\\B", L"HKEY_LOCAL_MACHINE\\Software\\AB"}));
}

TEST_F(MixedKeysTest, ANodeThatIsGoneMixesNothingUp) {
    Make("Software\\Wow6432Node");
    Delete("Software\\Wow6432Node");
    Make("Software\\A");
    Find("Software\\A");
    story.SetValue(THREAD, 8, "");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, ANameBelowAnUnknownHandleSaysNothing) {
    story.Create(THREAD, "A", 8,
                 {.parent = 0x40, .realPath = R"(REGISTRY\Machine\Software\Wow6432Node\Wow6432Node\A)"});
    story.SetValue(THREAD, 8, "");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, OutsideOfTheTreeThe32BitViewIsNoMixture) {
    story.Open(THREAD, R"(\REGISTRY\Machine)", HIVE, {.realPath = R"(REGISTRY\Machine)"});
    story.Create(THREAD, "Software\\A", 8,
                 {.parent = HIVE, .realPath = R"(REGISTRY\Machine\Software\Wow6432Node\A)"});
    story.SetValue(THREAD, 8, "");
    EXPECT_EQ(Mixed(), Names());
}

// The live registry of the current user, where the two views are one.
class LiveMixedKeysTest : public MixedKeysTest {
protected:
    LiveMixedKeysTest() {
        story.Open(THREAD, '\\' + USER, LIVE, {.realPath = USER});
        MakeLive("Software\\A", "Software\\A");
        MakeLive("Software\\Wow6432Node", "Software\\Wow6432Node");
        MakeLive("Software\\Wow6432Node\\A", "Software\\Wow6432Node\\A");
    }
    void MakeLive(const std::string& name, const std::string& place) {
        story.Create(THREAD, name, 8, {.parent = LIVE, .realPath = USER + '\\' + place});
    }
    void FindLive(const std::string& name) {
        story.Create(THREAD, name, 8, {.parent = LIVE, .status = "OBJECT_NAME_EXISTS"});
    }

    static constexpr std::uint32_t LIVE = 0x40;
    const std::string USER = R"(REGISTRY\User\S-1-5-21-0-0-0-1000)";
};

TEST_F(LiveMixedKeysTest, TheWrongOneOfTwoCountsOnceItIsRead) {
    FindLive("Software\\A");
    EXPECT_EQ(Mixed(), Names());
    story.QueryValue(THREAD, 8, "");
    EXPECT_EQ(Mixed(), Names{L"HKEY_CURRENT_USER\\Software\\A"});
}

TEST_F(LiveMixedKeysTest, AKeyMadeBelowTheNodeCounts) {
    MakeLive("Software\\B", "Software\\Wow6432Node\\B");
    EXPECT_EQ(Mixed(), Names{L"HKEY_CURRENT_USER\\Software\\B"});
}

TEST_F(LiveMixedKeysTest, ToPassThroughTheNodeIsNothing) {
    FindLive("Software");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(LiveMixedKeysTest, TheUsersClassesPartOnWindowsToo) {
    MakeLive("Software\\Classes\\Wow6432Node", "Software\\Classes\\Wow6432Node");
    MakeLive("Software\\Classes\\CLSID", "Software\\Classes\\Wow6432Node\\CLSID");
    story.SetValue(THREAD, 8, "");
    EXPECT_EQ(Mixed(), Names());
}

TEST(MakesMixingNode, IsTrueForANodeWhereWindowsHasNone) {
    const std::string user = R"(REGISTRY\\User\\S-1-5-21-0-0-0-1000\\Software\\)";
    const std::string tree = user + R"(Velmoro\\Tesselink\\Temporary\\)";
    EXPECT_TRUE(MakesMixingNode("Create key " + tree + R"(HKCR\\Wow6432Node)"));
    EXPECT_TRUE(MakesMixingNode("Create key " + tree + R"(HKLM\\Software\\WOW6432NODE\\A)"));
    EXPECT_TRUE(MakesMixingNode(R"(Create key REGISTRY\\Machine\\Software\\Wow6432Node\\Wow6432Node)"));
    EXPECT_FALSE(MakesMixingNode("Create key " + tree + R"(HKLM\\Software\\Wow6432Nodes)"));
    EXPECT_FALSE(MakesMixingNode("Open key " + tree + R"(HKCR\\Wow6432Node)"));
    EXPECT_TRUE(MakesMixingNode("Create key " + user + R"(Wow6432Node)"));
    EXPECT_FALSE(MakesMixingNode("Create key " + user + R"(Classes\\Wow6432Node\\CLSID)"));
    EXPECT_FALSE(MakesMixingNode(R"(Create key REGISTRY\\Machine\\Software\\Classes\\Wow6432Node)"));
    EXPECT_FALSE(MakesMixingNode(R"(Create key REGISTRY\\Machine\\Software\\Wow6432Node)"));
}

} // namespace
} // namespace keyreap
