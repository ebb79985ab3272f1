#include "tests/unit/box/foldertest.h"
#include "tools/box/boxplaces.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Words = std::vector<std::string>;

// The target of each bind, with a plus if it can be changed.
Words Targets(const BoxPlaces& places) {
    const Words words = places.Words();
    Words targets;
    for (std::size_t i = 0; i + 2 < words.size(); i += 3) {
        targets.push_back((words[i] == "--bind" ? "+" : "") + words[i + 2]);
    }
    return targets;
}

class BoxPlacesTest : public FolderTest {
protected:
    // The folder of the tests' own home counts as a user's.
    BoxPlaces places{
        WideFolders("root:x:0:0:root:/root:/bin/sh\nann:x:1:1::" + Path("home/ann") + ":/bin/sh\n", "")};
};

TEST_F(BoxPlacesTest, AnInputBringsItsFolder) {
    MakeFile("in/server.dll");
    places.AddInput(Path("in/server.dll"));
    EXPECT_THAT(Targets(places), ElementsAre(Path("in"), Path("in/server.dll")));
}

TEST_F(BoxPlacesTest, AnInputInAHomeFolderBringsOnlyTheModulesBesideIt) {
    MakeFile("home/ann/server.dll");
    MakeFile("home/ann/Helper.DLL");
    MakeFile("home/ann/server.exe.config");
    MakeFile("home/ann/.ssh/key");
    MakeFile("home/ann/notes.txt");
    MakeLink("home/ann/linked.dll", Path("home/ann/notes.txt"));
    places.AddInput(Path("home/ann/server.dll"));
    EXPECT_THAT(Targets(places), ElementsAre(Path("home/ann/Helper.DLL"), Path("home/ann/server.dll"),
                                             Path("home/ann/server.exe.config")));
}

TEST_F(BoxPlacesTest, AnInputInAFolderAboveAHomeFolderBringsOnlyModules) {
    MakeFile("home/server.dll");
    MakeFile("home/ann/notes.txt");
    places.AddInput(Path("home/server.dll"));
    EXPECT_THAT(Targets(places), ElementsAre(Path("home/server.dll")));
}

TEST_F(BoxPlacesTest, AFolderThatALinkShowsElsewhereIsAsWideAsItIs) {
    MakeFile("home/ann/server.dll");
    MakeFile("home/ann/notes.txt");
    MakeLink("way", Path("home/ann"));
    places.AddInput(Path("way/server.dll"));
    EXPECT_THAT(Targets(places), ElementsAre(Path("home/ann/server.dll"), Path("way/server.dll")));
}

TEST_F(BoxPlacesTest, AHomeFolderThatIsALinkIsWideUnderItsRealPath) {
    MakeFolder("real/ann");
    MakeLink("linked", Path("real/ann"));
    EXPECT_TRUE(WideFolders("", Path("linked")).Has(Path("real/ann")));
    EXPECT_TRUE(WideFolders("", Path("linked")).Has(Path("real")));
}

TEST_F(BoxPlacesTest, ALinkedInputIsThereUnderBothNames) {
    MakeFile("real/server.dll");
    MakeLink("in/server.dll", Path("real/server.dll"));
    places.AddInput(Path("in/server.dll"));
    // In the folder that is seen the link leads to the other name.
    EXPECT_THAT(Targets(places), ElementsAre(Path("in"), Path("real/server.dll")));
}

TEST_F(BoxPlacesTest, AnOutputOfALinkedFolderIsThereUnderBothNames) {
    MakeFile("real/out.reg");
    MakeLink("out", Path("real"));
    places.Change(Path("out/out.reg"));
    EXPECT_THAT(Targets(places), ElementsAre("+" + Path("out/out.reg"), "+" + Path("real/out.reg")));
}

TEST_F(BoxPlacesTest, AnOutputInTheFolderOfTheInputIsPlacedOverIt) {
    MakeFile("in/server.dll");
    MakeFile("in/out.reg");
    places.Change(Path("in/out.reg"));
    places.AddInput(Path("in/server.dll"));
    EXPECT_THAT(Targets(places), ElementsAre(Path("in"), "+" + Path("in/out.reg"), Path("in/server.dll")));
}

TEST_F(BoxPlacesTest, WhatCanBeChangedStaysSoWhereItIsAlsoSeen) {
    MakeFolder("folder");
    places.Change(Path("folder"));
    places.See(Path("folder"));
    EXPECT_THAT(Targets(places), ElementsAre("+" + Path("folder")));
}

TEST_F(BoxPlacesTest, AFolderComesBeforeANameThatSortsAheadOfItsSlash) {
    MakeFolder("a/b");
    MakeFolder("a-b");
    places.See(Path("a/b"));
    places.See(Path("a-b"));
    places.See(Path("a"));
    EXPECT_THAT(Targets(places), ElementsAre(Path("a"), Path("a/b"), Path("a-b")));
}

TEST_F(BoxPlacesTest, WhatDoesNotExistIsLeftOut) {
    places.See(Path("nothing"));
    places.AddInput(Path("no/server.dll"));
    places.Change(Path("no/out.reg"));
    EXPECT_THAT(places.Words(), IsEmpty());
}

TEST_F(BoxPlacesTest, TheRootAndFoldersOfTemporaryFilesAreWide) {
    const WideFolders wide("", "/users/own");
    for (const char* folder : {"/", "/tmp", "/var/tmp", "/var", "/dev/shm", "/users", "/users/own",
                               "/users/own/", "/etc", "/srv", "/home/somebody"}) {
        EXPECT_TRUE(wide.Has(folder)) << folder;
    }
    for (const char* folder :
         {"/tmp/build", "/users/own/build", "/users/other", "/srv/build", "/home/somebody/build"}) {
        EXPECT_FALSE(wide.Has(folder)) << folder;
    }
}

} // namespace
} // namespace keyreap
