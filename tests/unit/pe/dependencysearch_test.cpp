#include "tests/support/environmentchange.h"
#include "tests/unit/pe/dependencyfolder.h"
#include "tests/unit/pe/failingfoldermanager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::CurrentFolder;
using testsupport::EnvironmentChange;
using testsupport::ImageBits;
using testsupport::ImageBuilder;
using testsupport::IsSamePath;
using testsupport::SystemFolder;
using testsupport::WindowsFolder;

class DependencySearchTest : public testsupport::DependencyFolderTest {};

TEST_F(DependencySearchTest, FolderOfTheFileIsSearchedFirst) {
    const std::wstring beside = Make(L"kernel32.dll", {});
    EXPECT_EQ(Found("kernel32.dll"), beside);
}

TEST_F(DependencySearchTest, SystemFolderIsSearchedSecond) {
    const CurrentFolder current(folder.MakeFolder(L"current"));
    Make(L"current\\kernel32.dll", {});
    const std::wstring found = Found("kernel32.dll");
    EXPECT_TRUE(IsSamePath(found, SystemFolder() + L"\\kernel32.dll")) << testing::PrintToString(found);
}

TEST_F(DependencySearchTest, SystemFolderIsSearchedBeforeTheWindowsFolder) {
    // The system folder and the Windows folder both have this file.
    ASSERT_TRUE(testsupport::Exists(WindowsFolder() + L"\\notepad.exe"));
    const std::wstring found = Found("notepad.exe");
    EXPECT_TRUE(IsSamePath(found, SystemFolder() + L"\\notepad.exe")) << testing::PrintToString(found);
}

TEST_F(DependencySearchTest, WindowsFolderIsSearchedThird) {
    const CurrentFolder current(folder.MakeFolder(L"current"));
    Make(L"current\\win.ini", {});
    const std::wstring found = Found("win.ini");
    EXPECT_TRUE(IsSamePath(found, WindowsFolder() + L"\\win.ini")) << testing::PrintToString(found);
}

TEST_F(DependencySearchTest, CurrentFolderIsSearchedFourth) {
    const CurrentFolder current(folder.MakeFolder(L"current"));
    const EnvironmentChange path(L"PATH", folder.MakeFolder(L"path"));
    Make(L"path\\keyreap own.dll", {});
    EXPECT_TRUE(IsSamePath(Found("keyreap own.dll"), folder.File(L"path\\keyreap own.dll")));
    Make(L"current\\keyreap own.dll", {});
    EXPECT_TRUE(IsSamePath(Found("keyreap own.dll"), folder.File(L"current\\keyreap own.dll")));
}

TEST_F(DependencySearchTest, FoldersOfPathAreSearchedLastAndInTheirOrder) {
    const std::wstring first = folder.MakeFolder(L"first");
    const std::wstring second = folder.MakeFolder(L"second");
    const EnvironmentChange path(L"PATH", first + L"\\;;;" + second);
    const std::wstring later = Make(L"second\\keyreap own.dll", {});
    EXPECT_EQ(Found("keyreap own.dll"), later);
    const std::wstring earlier = Make(L"first\\keyreap own.dll", {});
    EXPECT_EQ(Found("keyreap own.dll"), earlier);
}

TEST_F(DependencySearchTest, EmptyEntriesOfPathAreNoFolders) {
    // After an empty folder, a name with a full path would be found.
    const std::string fullPath = testing::TempDir() + "keyreap own.dll";
    const std::wstring wide(fullPath.begin(), fullPath.end());
    testsupport::WriteBytes(wide, "found");
    const EnvironmentChange path(L"PATH", L";;" + folder.Path() + L";;");
    EXPECT_EQ(Found(fullPath.c_str()), L"");
    DeleteFileW(wide.c_str());
}

// A value of PATH with a given length, whose last entry is the folder.
std::wstring PathOfLength(std::size_t length, const std::wstring& lastFolder) {
    std::wstring path(length, L';');
    return path.replace(length - lastFolder.size(), lastFolder.size(), lastFolder);
}

TEST_F(DependencySearchTest, PathOf1039CharactersIsSearched) {
    const std::wstring file = Make(L"path\\keyreap own.dll", {});
    const EnvironmentChange path(L"PATH", PathOfLength(1039, folder.File(L"path")));
    EXPECT_EQ(Found("keyreap own.dll"), file);
}

TEST_F(DependencySearchTest, LongerPathIsNotSearchedAndTheWalkGoesOn) {
    Make(L"path\\keyreap own.dll", {});
    for (const std::size_t length : {1040U, 1041U, 5000U}) {
        const EnvironmentChange path(L"PATH", PathOfLength(length, folder.File(L"path")));
        EXPECT_EQ(Found("keyreap own.dll"), L"") << length;
    }
}

TEST_F(DependencySearchTest, LongerPathLeavesTheCurrentFolderSplitAsAPath) {
    const CurrentFolder current(folder.MakeFolder(L"first;second"));
    const std::wstring own = Make(L"first\\keyreap own.dll", {});
    const EnvironmentChange path(L"PATH", std::wstring(1040, L'x'));
    EXPECT_TRUE(IsSamePath(Found("keyreap own.dll"), own));
}

TEST_F(DependencySearchTest, EmptyPathIsNoFailure) {
    const EnvironmentChange path(L"PATH", L"");
    EXPECT_THAT(WalkNames(Make(L"app.dll", {"a.dll"})), ElementsAre(L"a.dll"));
}

TEST_F(DependencySearchTest, MissingPathIsTheSystemsErrorAndNothingIsCollected) {
    const EnvironmentChange path(L"PATH", L"x");
    SetEnvironmentVariableW(L"PATH", nullptr);
    DependencyList list;
    EXPECT_EQ(DependencyWalker(Make(L"app.dll", {"a.dll"})).CollectDependencies(list),
              static_cast<std::uint32_t>(ERROR_ENVVAR_NOT_FOUND));
    EXPECT_THAT(list, IsEmpty());
}

TEST_F(DependencySearchTest, WithoutTheSystemsFoldersTheStatusIsThreeAndNothingIsCollected) {
    const std::wstring path = Make(L"asking.dll", {"beside.dll"});
    const testsupport::FailingFolderManager noManager;
    DependencyList list;
    EXPECT_EQ(DependencyWalker(path).CollectDependencies(list), 3U);
    EXPECT_THAT(list, IsEmpty());
}

TEST_F(DependencySearchTest, HitBesideALongPathIsGivenInItsExtendedForm) {
    const std::wstring name = folder.NameForLength(240) + L"\\";
    const std::wstring own = Make(name + L"keyreap own.dll", {});
    const DependencyList list = Walk(Make(name + L"app.dll", {"keyreap own.dll"}));
    EXPECT_EQ(list.at(0).path, L"\\\\?\\" + own);
}

TEST_F(DependencySearchTest, HitElsewhereIsGivenAsItIs) {
    const std::wstring deep = folder.MakeFolder(folder.NameForLength(235));
    const std::wstring own = folder.MakeFile(deep.substr(folder.Path().size() + 1) + L"\\keyreap own.dll");
    const EnvironmentChange path(L"PATH", deep);
    EXPECT_EQ(own.size(), 251U);
    EXPECT_EQ(Found("keyreap own.dll"), own);
}

TEST_F(DependencySearchTest, File32BitSearchesThe32BitSystemFolder) {
    const std::wstring found = Found("oleaut32.dll", ImageBits::bits32);
    BOOL isWow64 = FALSE;
    IsWow64Process(GetCurrentProcess(), &isWow64);
    const bool is64BitSystem = sizeof(void*) == 8 || isWow64;
    const std::wstring expected = is64BitSystem ? WindowsFolder() + L"\\syswow64" : SystemFolder();
    EXPECT_TRUE(IsSamePath(found, expected + L"\\oleaut32.dll")) << testing::PrintToString(found);
}

TEST_F(DependencySearchTest, NestedFileSearchesByItsOwnBitnessAndFolder) {
    folder.MakeFile(L"path\\nested.dll",
                    ImageBuilder(ImageBits::bits32).Imports({"oleaut32.dll", "neighbour.dll"}).Build().bytes);
    const std::wstring neighbour = Make(L"path\\neighbour.dll", {});
    const EnvironmentChange path(L"PATH", folder.File(L"path"));
    const DependencyList list = Walk(Make(L"app.dll", {"nested.dll"}));
    ASSERT_GE(list.size(), 3U);
    EXPECT_EQ(list[0].name, L"nested.dll");
    EXPECT_TRUE(IsSamePath(list[1].path, Found("oleaut32.dll", ImageBits::bits32)));
    EXPECT_EQ(list.back().path, neighbour);
}

} // namespace
} // namespace keyreap
