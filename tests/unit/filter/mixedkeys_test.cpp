#include "hostlogger/filter/mixedkeys.h"
#include "tests/unit/hostlogger/requeststory.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using Names = std::vector<std::wstring>;

constexpr std::uint32_t thread = 0x24;
constexpr std::uint32_t machineHandle = 4;
constexpr std::uint32_t fullAccess64 = 0x000F013F; // KEY_ALL_ACCESS in the 64-bit view

const std::string tree = R"(REGISTRY\User\S-1-5-21-0-0-0-1000\Software\Velmoro\Tesselink\Temporary\)";

// A running process that has the machine's key of the temporary tree open, with the key Software below it.
class MixedKeysTest : public testing::Test {
protected:
    explicit MixedKeysTest(const char* machine = RequestStory::machine32) { Begin(machine); }

    void Begin(const char* machine) {
        story.Process(0x20, thread, machine);
        story.Open(thread, '\\' + tree + "HKLM", machineHandle,
                   {.access = fullAccess64, .realPath = tree + "HKLM"});
        Make("Software");
    }

    // Creates a key under its own name.
    void Make(const std::string& name) { MakeAs(name, name); }
    // Creates a key elsewhere in the machine's key.
    void MakeAs(const std::string& name, const std::string& place, std::uint32_t parent = machineHandle) {
        story.Create(thread, name, 8, {.parent = parent, .realPath = tree + "HKLM\\" + place});
    }
    // Creates a key that exists, wherever the server finds it.
    void Find(const std::string& name, std::uint32_t handle = 8, std::uint32_t access = 0x2001F) {
        story.Create(thread, name, handle,
                     {.parent = machineHandle, .access = access, .status = "OBJECT_NAME_EXISTS"});
    }
    void OpenInVain(const std::string& name, std::uint32_t access = 0x20019) {
        story.Open(thread, name, 0,
                   {.parent = machineHandle, .access = access, .status = "OBJECT_NAME_NOT_FOUND"});
    }
    void Delete(const std::string& place) {
        story.Open(thread, place, 8,
                   {.parent = machineHandle, .access = fullAccess64, .realPath = tree + "HKLM\\" + place});
        story.DeleteKey(thread, 8);
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

const Names keyA = {L"HKEY_LOCAL_MACHINE\\Software\\A"};

TEST_F(MixedKeysTest, PlainKeysUsedAheadOfTheNodeAreNotMixedUp) {
    Make("Software\\A");
    story.SetValue(thread, 8, "");
    Find("Software\\A");
    Make("Software\\Wow6432Node");
    Make("Software\\Wow6432Node\\A");
    story.SetValue(thread, 8, "");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, APlainKeyMadeBelowTheNodeIsMixedUp) {
    Make("Software\\Wow6432Node");
    MakeAs("Software\\A", "Software\\Wow6432Node\\A");
    EXPECT_EQ(Mixed(), keyA);
}

TEST_F(MixedKeysTest, AKeyFoundOnlyBelowTheNodeIsMixedUp) {
    Make("Software\\Wow6432Node");
    Make("Software\\Wow6432Node\\A");
    Find("Software\\A");
    EXPECT_EQ(Mixed(), keyA);
}

TEST_F(MixedKeysTest, AKeyMadeBelowTheNodeLevelByLevelIsMixedUp) {
    Make("Software\\Wow6432Node");
    Find("Software", 0x10);
    MakeAs("A", "Software\\Wow6432Node\\A", 0x10);
    EXPECT_EQ(Mixed(), keyA);
}

// 64-bit code asks for the 32-bit view of a key below Software, and kernelbase does so level by level.
class MixedViewTest : public MixedKeysTest {
protected:
    MixedViewTest() : MixedKeysTest(RequestStory::machine64) {}

    void EnterNode(std::uint32_t access = 0x2021F) {
        Find("Software", 0x10, access);
        story.Open(thread, "Wow6432Node", 0x14,
                   {.parent = 0x10, .access = 0x02000000, .realPath = tree + "HKLM\\Software\\Wow6432Node"});
        story.Close(thread, 0x10);
    }
};

TEST_F(MixedViewTest, AKeyMadeBelowTheNodeIsMixedUp) {
    Make("Software\\Wow6432Node");
    EnterNode();
    MakeAs("A", "Software\\Wow6432Node\\A", 0x14);
    EXPECT_EQ(Mixed(), keyA);
}

TEST_F(MixedViewTest, OfTwoKeysTheWrongOneCountsOnceItIsUsed) {
    Make("Software\\A");
    Make("Software\\Wow6432Node");
    Make("Software\\Wow6432Node\\A");
    EnterNode();
    story.Create(thread, "A", 8, {.parent = 0x14, .access = 0x2021F, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(Mixed(), Names());
    story.SetValue(thread, 8, "");
    EXPECT_EQ(Mixed(), keyA);
}

TEST_F(MixedViewTest, AValueOfTheNodeIsMixedUp) {
    Make("Software\\Wow6432Node");
    EnterNode();
    EXPECT_EQ(Mixed(), Names());
    story.SetValue(thread, 0x14, "");
    EXPECT_EQ(Mixed(), Names({L"HKEY_LOCAL_MACHINE\\Software"}));
}

TEST_F(MixedViewTest, AKeyOpenedBelowTheNodeHasItsWholeName) {
    Make("Software\\Wow6432Node");
    Make("Software\\Wow6432Node\\A");
    Make("Software\\Wow6432Node\\A\\B");
    EnterNode();
    const std::string place = tree + "HKLM\\Software\\Wow6432Node\\A";
    story.Open(thread, "A", 0x18, {.parent = 0x14, .access = 0x2021F, .realPath = place});
    story.Open(thread, "B", 0x1C, {.parent = 0x18, .access = 0x2021F, .realPath = place + "\\B"});
    story.SetValue(thread, 0x1C, "");
    EXPECT_EQ(Mixed(), Names({L"HKEY_LOCAL_MACHINE\\Software\\A\\B"}));
}

TEST_F(MixedViewTest, WithoutANodeNothingIsMixedUp) {
    Find("Software", 0x10, 0x2021F);
    story.Open(thread, "Wow6432Node", 0,
               {.parent = 0x10, .access = 0x02000000, .status = "OBJECT_NAME_NOT_FOUND"});
    MakeAs("A", "Software\\A", 0x10);
    story.SetValue(thread, 8, "");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedViewTest, ANodeThatTheServerOpensItselfIsItsOwn) {
    Make("Software\\Wow6432Node");
    EnterNode(0x2001F);
    MakeAs("A", "Software\\Wow6432Node\\A", 0x14);
    story.SetValue(thread, 8, "");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, PassingThroughTheNodeHasNoEffect) {
    Make("Software\\Wow6432Node");
    Find("Software");
    story.Close(thread, 8);
    OpenInVain("Software\\A");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, OfTwoKeysTheWrongOneCountsOnceItIsUsed) {
    Make("Software\\A");
    Make("Software\\Wow6432Node");
    Make("Software\\Wow6432Node\\A");
    Find("Software\\A");
    EXPECT_EQ(Mixed(), Names());
    story.SetValue(thread, 8, "", "ACCESS_DENIED");
    EXPECT_EQ(Mixed(), Names());
    story.SetValue(thread, 8, "");
    EXPECT_EQ(Mixed(), keyA);
}

TEST_F(MixedKeysTest, AValueThatIsReadInTheWrongKeyCounts) {
    Make("Software\\A");
    Make("Software\\Wow6432Node");
    Make("Software\\Wow6432Node\\A");
    Find("Software\\A");
    story.QueryValue(thread, 8, "");
    EXPECT_EQ(Mixed(), keyA);
}

TEST_F(MixedKeysTest, AnExistingKeyThatIsNotFoundIsMixedUp) {
    Make("Software\\A");
    Make("Software\\Wow6432Node");
    OpenInVain("Software\\A");
    EXPECT_EQ(Mixed(), keyA);
}

TEST_F(MixedKeysTest, InThe64BitViewNoNameLeadsThroughTheNode) {
    Make("Software\\A");
    Make("Software\\Wow6432Node");
    Make("Software\\Wow6432Node\\A");
    Find("Software\\A", 8, fullAccess64);
    story.SetValue(thread, 8, "");
    OpenInVain("Software\\A", fullAccess64);
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, Of64BitProcessesNothingIsMixedUp) {
    Begin(RequestStory::machine64);
    story.KillProcess(0x20);
    Begin(RequestStory::machine64);
    Make("Software\\Wow6432Node");
    Find("Software\\A");
    story.SetValue(thread, 8, "");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, ASecondNodeThatTheHostMakesUpCountsToo) {
    Make("Software\\Wow6432Node");
    Find("Software", 0x10);
    MakeAs("Wow6432Node", "Software\\Wow6432Node\\Wow6432Node", 0x10);
    MakeAs("B", "Software\\Wow6432Node\\Wow6432Node\\B", 8);
    EXPECT_EQ(Mixed(), Names{L"HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\B"});
}

TEST_F(MixedKeysTest, ASecondNodeInTheLiveRegistryCountsToo) {
    story.Open(thread, R"(\REGISTRY\Machine)", machineHandle, {.realPath = R"(REGISTRY\Machine)"});
    story.Open(thread, "Software", 0x10,
               {.parent = machineHandle, .realPath = R"(REGISTRY\Machine\Software\Wow6432Node)"});
    story.Create(thread, "Wow6432Node", 0x14,
                 {.parent = 0x10, .realPath = R"(REGISTRY\Machine\Software\Wow6432Node\Wow6432Node)"});
    story.Create(thread, "B", 8,
                 {.parent = 0x14, .realPath = R"(REGISTRY\Machine\Software\Wow6432Node\Wow6432Node\B)"});
    EXPECT_EQ(Mixed(), Names{L"HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\B"});
}

TEST_F(MixedKeysTest, ASecondNodeThatTheServerAsksForIsNotMixedUp) {
    Make("Software\\Wow6432Node");
    Make("Software\\Wow6432Node\\Wow6432Node");
    Make("Software\\Wow6432Node\\Wow6432Node\\B");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, KeysAboveAMixedUpKeyAreNotNamed) {
    Make("Software\\Wow6432Node");
    MakeAs("Software\\A", "Software\\Wow6432Node\\A");
    MakeAs("Software\\a\\B", "Software\\Wow6432Node\\A\\B");
    MakeAs("Software\\AB", "Software\\Wow6432Node\\AB");
    story.SetValue(thread, 8, "");
    EXPECT_EQ(Mixed(), (Names{L"HKEY_LOCAL_MACHINE\\Software\\a\\B", L"HKEY_LOCAL_MACHINE\\Software\\AB"}));
}

TEST_F(MixedKeysTest, ADeletedNodeMixesNothingUp) {
    Make("Software\\Wow6432Node");
    Delete("Software\\Wow6432Node");
    Make("Software\\A");
    Find("Software\\A");
    story.SetValue(thread, 8, "");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, ANameBelowAnUnknownHandleIsIgnored) {
    story.Create(thread, "A", 8,
                 {.parent = 0x40, .realPath = R"(REGISTRY\Machine\Software\Wow6432Node\Wow6432Node\A)"});
    story.SetValue(thread, 8, "");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(MixedKeysTest, OutsideOfTheTreeThe32BitViewIsNotMixedUp) {
    story.Open(thread, R"(\REGISTRY\Machine)", machineHandle, {.realPath = R"(REGISTRY\Machine)"});
    story.Create(thread, "Software\\A", 8,
                 {.parent = machineHandle, .realPath = R"(REGISTRY\Machine\Software\Wow6432Node\A)"});
    story.SetValue(thread, 8, "");
    EXPECT_EQ(Mixed(), Names());
}

// The live registry of the current user, where the two views are one.
class LiveMixedKeysTest : public MixedKeysTest {
protected:
    LiveMixedKeysTest() {
        story.Open(thread, '\\' + userPath, userHandle, {.realPath = userPath});
        MakeLive("Software\\A", "Software\\A");
        MakeLive("Software\\Wow6432Node", "Software\\Wow6432Node");
        MakeLive("Software\\Wow6432Node\\A", "Software\\Wow6432Node\\A");
    }
    void MakeLive(const std::string& name, const std::string& place) {
        story.Create(thread, name, 8, {.parent = userHandle, .realPath = userPath + '\\' + place});
    }
    void FindLive(const std::string& name) {
        story.Create(thread, name, 8, {.parent = userHandle, .status = "OBJECT_NAME_EXISTS"});
    }

    static constexpr std::uint32_t userHandle = 0x40;
    const std::string userPath = R"(REGISTRY\User\S-1-5-21-0-0-0-1000)";
};

TEST_F(LiveMixedKeysTest, TheWrongOneOfTwoCountsOnceItIsRead) {
    FindLive("Software\\A");
    EXPECT_EQ(Mixed(), Names());
    story.QueryValue(thread, 8, "");
    EXPECT_EQ(Mixed(), Names{L"HKEY_CURRENT_USER\\Software\\A"});
}

TEST_F(LiveMixedKeysTest, AKeyMadeBelowTheNodeCounts) {
    MakeLive("Software\\B", "Software\\Wow6432Node\\B");
    EXPECT_EQ(Mixed(), Names{L"HKEY_CURRENT_USER\\Software\\B"});
}

TEST_F(LiveMixedKeysTest, PassingThroughTheNodeHasNoEffect) {
    FindLive("Software");
    EXPECT_EQ(Mixed(), Names());
}

TEST_F(LiveMixedKeysTest, TheUsersClassesHaveTwoViewsOnWindowsToo) {
    MakeLive("Software\\Classes\\Wow6432Node", "Software\\Classes\\Wow6432Node");
    MakeLive("Software\\Classes\\CLSID", "Software\\Classes\\Wow6432Node\\CLSID");
    story.SetValue(thread, 8, "");
    EXPECT_EQ(Mixed(), Names());
}

TEST(MakesMixingNode, IsTrueForANodeWhereWindowsHasNone) {
    const std::string user = R"(REGISTRY\\User\\S-1-5-21-0-0-0-1000\\Software\\)";
    const std::string userTree = user + R"(Velmoro\\Tesselink\\Temporary\\)";
    EXPECT_TRUE(MakesMixingNode("Create key " + userTree + R"(HKCR\\Wow6432Node)"));
    EXPECT_TRUE(MakesMixingNode("Create key " + userTree + R"(HKLM\\Software\\WOW6432NODE\\A)"));
    EXPECT_TRUE(MakesMixingNode(R"(Create key REGISTRY\\Machine\\Software\\Wow6432Node\\Wow6432Node)"));
    EXPECT_FALSE(MakesMixingNode("Create key " + userTree + R"(HKLM\\Software\\Wow6432Nodes)"));
    EXPECT_FALSE(MakesMixingNode("Open key " + userTree + R"(HKCR\\Wow6432Node)"));
    EXPECT_TRUE(MakesMixingNode("Create key " + user + R"(Wow6432Node)"));
    EXPECT_FALSE(MakesMixingNode("Create key " + user + R"(Classes\\Wow6432Node\\CLSID)"));
    EXPECT_FALSE(MakesMixingNode(R"(Create key REGISTRY\\Machine\\Software\\Classes\\Wow6432Node)"));
    EXPECT_FALSE(MakesMixingNode(R"(Create key REGISTRY\\Machine\\Software\\Wow6432Node)"));
}

} // namespace
} // namespace keyreap
