#include "pe/dependencywalker.h"
#include "tests/support/environmentchange.h"
#include "tests/support/imagebuilder.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/versionresource.h"
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
using testsupport::TemporaryFolder;
using testsupport::VersionResource;

using Names = std::vector<std::string>;

std::wstring SystemFolder() {
    wchar_t folder[MAX_PATH];
    GetSystemDirectoryW(folder, MAX_PATH);
    return folder;
}

std::wstring WindowsFolder() {
    wchar_t folder[MAX_PATH];
    GetWindowsDirectoryW(folder, MAX_PATH);
    return folder;
}

bool IsSamePath(const std::wstring& left, const std::wstring& right) {
    return lstrcmpiW(left.c_str(), right.c_str()) == 0;
}

class DependencyWalkerTest : public testing::Test {
protected:
    // A file with imports and delay imports, of no company.
    std::wstring Make(std::wstring_view name, Names imports, Names delayImports = {}) const {
        return folder.MakeFile(
            name,
            ImageBuilder().Imports(std::move(imports)).DelayImports(std::move(delayImports)).Build().bytes);
    }

    std::wstring MakeOf(std::u16string company, std::wstring_view name, Names imports) const {
        return folder.MakeFile(name, ImageBuilder()
                                         .Imports(std::move(imports))
                                         .Version(VersionResource::Of(std::move(company)))
                                         .Build()
                                         .bytes);
    }

    DependencyList Walk(const std::wstring& path) const {
        DependencyList list;
        EXPECT_EQ(DependencyWalker(path).CollectDependencies(list), 0U);
        return list;
    }

    std::vector<std::wstring> WalkNames(const std::wstring& path) const {
        std::vector<std::wstring> names;
        for (const DependencyRecord& record : Walk(path)) {
            names.push_back(record.name);
        }
        return names;
    }

    // The place where a file in the folder finds a name.
    std::wstring Found(const char* name, ImageBits bits = ImageBits::bits64) const {
        const std::string bytes = ImageBuilder(bits).Imports({name}).Build().bytes;
        return Walk(folder.MakeFile(L"asking.dll", bytes)).at(0).path;
    }

    TemporaryFolder folder;
};

TEST_F(DependencyWalkerTest, FileThatIsNoImageDependsOnNothing) {
    EXPECT_THAT(Walk(folder.MakeFile(L"a.txt", "text")), IsEmpty());
    EXPECT_THAT(Walk(folder.MakeFile(L"empty.dll")), IsEmpty());
    EXPECT_THAT(Walk(folder.File(L"missing.dll")), IsEmpty());
}

TEST_F(DependencyWalkerTest, ImportsComeBeforeDelayImportsInTheTablesOrder) {
    EXPECT_THAT(WalkNames(Make(L"app.dll", {"one.dll", "two.dll"}, {"three.dll", "four.dll"})),
                ElementsAre(L"one.dll", L"two.dll", L"three.dll", L"four.dll"));
}

TEST_F(DependencyWalkerTest, DelayImportsAreEnteredLikeLinkedOnes) {
    Make(L"late.dll", {"deep.dll"});
    EXPECT_THAT(WalkNames(Make(L"app.dll", {}, {"late.dll"})), ElementsAre(L"late.dll", L"deep.dll"));
}

TEST_F(DependencyWalkerTest, WalkGoesDepthFirst) {
    Make(L"a.dll", {"a1.dll", "a2.dll"});
    Make(L"a1.dll", {"deep.dll"});
    Make(L"b.dll", {"b1.dll"});
    EXPECT_THAT(WalkNames(Make(L"app.dll", {"a.dll", "b.dll"})),
                ElementsAre(L"a.dll", L"a1.dll", L"deep.dll", L"a2.dll", L"b.dll", L"b1.dll"));
}

TEST_F(DependencyWalkerTest, TwoFilesThatImportEachOtherHaveOneRecordEach) {
    Make(L"one.dll", {"two.dll"});
    Make(L"two.dll", {"one.dll"});
    EXPECT_THAT(WalkNames(Make(L"app.dll", {"one.dll"})), ElementsAre(L"one.dll", L"two.dll"));
}

TEST_F(DependencyWalkerTest, FileThatImportsItselfEnds) {
    EXPECT_THAT(WalkNames(Make(L"self.dll", {"self.dll"})), ElementsAre(L"self.dll"));
}

TEST_F(DependencyWalkerTest, NameInOtherCaseHasOneRecordUnderTheNameMetFirst) {
    Make(L"Own.dll", {"SHARED.DLL"});
    EXPECT_THAT(WalkNames(Make(L"app.dll", {"OWN.dll", "own.DLL"}, {"shared.dll"})),
                ElementsAre(L"OWN.dll", L"SHARED.DLL"));
}

TEST_F(DependencyWalkerTest, NamesOfDifferentLengthsAreDifferent) {
    EXPECT_THAT(WalkNames(Make(L"app.dll", {"a.dll", "a.dl", "a.dll2"})),
                ElementsAre(L"a.dll", L"a.dl", L"a.dll2"));
}

TEST_F(DependencyWalkerTest, BytesOfANameAreWidenedWithoutACodePage) {
    EXPECT_THAT(WalkNames(Make(L"app.dll", {"\xE9.dll"})), ElementsAre(L"\xFFE9.dll"));
}

TEST_F(DependencyWalkerTest, MissingDllHasARecordWithoutPathAndVersion) {
    const DependencyRecord record = Walk(Make(L"app.dll", {"no such file.dll"})).at(0);
    EXPECT_EQ(record.name, L"no such file.dll");
    EXPECT_EQ(record.path, L"");
    EXPECT_EQ(record.version, L"");
    EXPECT_EQ(record.isSystem, 0U);
}

TEST_F(DependencyWalkerTest, RecordHasVersionAndPathOfTheFileFound) {
    const std::wstring path = MakeOf(u"Own", L"own.dll", {});
    const DependencyRecord record = Walk(Make(L"app.dll", {"own.dll"})).at(0);
    EXPECT_EQ(record.path, path);
    EXPECT_EQ(record.version, L"1.2.3.4");
    EXPECT_EQ(record.isSystem, 0U);
}

TEST_F(DependencyWalkerTest, DllWithoutAVersionResourceIsEntered) {
    Make(L"plain.dll", {"deep.dll"});
    const DependencyList list = Walk(Make(L"app.dll", {"plain.dll"}));
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].version, L"");
    EXPECT_EQ(list[1].name, L"deep.dll");
}

TEST_F(DependencyWalkerTest, SystemFileIsListedButNotEnteredInWhateverCaseItsCompanyIsWritten) {
    for (const char16_t* company : {u"Microsoft Corporation", u"MICROSOFT corporation"}) {
        MakeOf(company, L"system.dll", {"deep.dll"});
        const DependencyList list = Walk(Make(L"app.dll", {"system.dll"}));
        ASSERT_EQ(list.size(), 1U);
        EXPECT_EQ(list[0].isSystem, 1U);
        EXPECT_EQ(list[0].version, L"1.2.3.4");
    }
}

TEST_F(DependencyWalkerTest, CompanyThatOnlyBeginsLikeTheSystemsIsEntered) {
    for (const char16_t* company : {u"Microsoft Corporation.", u"Microsoft", u""}) {
        MakeOf(company, L"other.dll", {"deep.dll"});
        EXPECT_EQ(WalkNames(Make(L"app.dll", {"other.dll"})).size(), 2U);
    }
}

TEST_F(DependencyWalkerTest, SecondWalkAddsNothingToTheSameList) {
    Make(L"a.dll", {"b.dll"});
    DependencyWalker walker(Make(L"app.dll", {"a.dll"}));
    DependencyList list;
    EXPECT_EQ(walker.CollectDependencies(list), 0U);
    EXPECT_EQ(walker.CollectDependencies(list), 0U);
    EXPECT_EQ(list.size(), 2U);
}

TEST_F(DependencyWalkerTest, NamesThatTheListHoldsAreNotFollowed) {
    Make(L"a.dll", {"b.dll"});
    DependencyList list{{L"A.DLL", L"", L"", 0}};
    DependencyWalker(Make(L"app.dll", {"a.dll"})).CollectDependencies(list);
    EXPECT_EQ(list.size(), 1U);
}

TEST_F(DependencyWalkerTest, FolderOfTheFileIsSearchedFirst) {
    const std::wstring beside = Make(L"kernel32.dll", {});
    EXPECT_EQ(Found("kernel32.dll"), beside);
}

TEST_F(DependencyWalkerTest, SystemFolderIsSearchedSecond) {
    const CurrentFolder current(folder.MakeFolder(L"current"));
    Make(L"current\\kernel32.dll", {});
    const std::wstring found = Found("kernel32.dll");
    EXPECT_TRUE(IsSamePath(found, SystemFolder() + L"\\kernel32.dll")) << testing::PrintToString(found);
}

TEST_F(DependencyWalkerTest, SystemFolderIsSearchedBeforeTheWindowsFolder) {
    // The system folder and the Windows folder both have this file.
    ASSERT_TRUE(testsupport::Exists(WindowsFolder() + L"\\notepad.exe"));
    const std::wstring found = Found("notepad.exe");
    EXPECT_TRUE(IsSamePath(found, SystemFolder() + L"\\notepad.exe")) << testing::PrintToString(found);
}

TEST_F(DependencyWalkerTest, WindowsFolderIsSearchedThird) {
    const CurrentFolder current(folder.MakeFolder(L"current"));
    Make(L"current\\win.ini", {});
    const std::wstring found = Found("win.ini");
    EXPECT_TRUE(IsSamePath(found, WindowsFolder() + L"\\win.ini")) << testing::PrintToString(found);
}

TEST_F(DependencyWalkerTest, CurrentFolderIsSearchedFourth) {
    const CurrentFolder current(folder.MakeFolder(L"current"));
    const EnvironmentChange path(L"PATH", folder.MakeFolder(L"path"));
    Make(L"path\\keyreap own.dll", {});
    EXPECT_TRUE(IsSamePath(Found("keyreap own.dll"), folder.File(L"path\\keyreap own.dll")));
    Make(L"current\\keyreap own.dll", {});
    EXPECT_TRUE(IsSamePath(Found("keyreap own.dll"), folder.File(L"current\\keyreap own.dll")));
}

TEST_F(DependencyWalkerTest, FoldersOfPathAreSearchedLastAndInTheirOrder) {
    const std::wstring first = folder.MakeFolder(L"first");
    const std::wstring second = folder.MakeFolder(L"second");
    const EnvironmentChange path(L"PATH", first + L"\\;;;" + second);
    const std::wstring later = Make(L"second\\keyreap own.dll", {});
    EXPECT_EQ(Found("keyreap own.dll"), later);
    const std::wstring earlier = Make(L"first\\keyreap own.dll", {});
    EXPECT_EQ(Found("keyreap own.dll"), earlier);
}

TEST_F(DependencyWalkerTest, EmptyEntriesOfPathAreNoFolders) {
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

TEST_F(DependencyWalkerTest, PathOf1039CharactersIsSearched) {
    const std::wstring file = Make(L"path\\keyreap own.dll", {});
    const EnvironmentChange path(L"PATH", PathOfLength(1039, folder.File(L"path")));
    EXPECT_EQ(Found("keyreap own.dll"), file);
}

TEST_F(DependencyWalkerTest, LongerPathIsNotSearchedAndTheWalkGoesOn) {
    Make(L"path\\keyreap own.dll", {});
    for (const std::size_t length : {1040U, 1041U, 5000U}) {
        const EnvironmentChange path(L"PATH", PathOfLength(length, folder.File(L"path")));
        EXPECT_EQ(Found("keyreap own.dll"), L"") << length;
    }
}

TEST_F(DependencyWalkerTest, LongerPathLeavesTheCurrentFolderSplitAsAPath) {
    const CurrentFolder current(folder.MakeFolder(L"first;second"));
    const std::wstring own = Make(L"first\\keyreap own.dll", {});
    const EnvironmentChange path(L"PATH", std::wstring(1040, L'x'));
    EXPECT_TRUE(IsSamePath(Found("keyreap own.dll"), own));
}

TEST_F(DependencyWalkerTest, EmptyPathIsNoFailure) {
    const EnvironmentChange path(L"PATH", L"");
    EXPECT_THAT(WalkNames(Make(L"app.dll", {"a.dll"})), ElementsAre(L"a.dll"));
}

TEST_F(DependencyWalkerTest, MissingPathIsTheSystemsErrorAndNothingIsCollected) {
    const EnvironmentChange path(L"PATH", L"x");
    SetEnvironmentVariableW(L"PATH", nullptr);
    DependencyList list;
    EXPECT_EQ(DependencyWalker(Make(L"app.dll", {"a.dll"})).CollectDependencies(list),
              static_cast<std::uint32_t>(ERROR_ENVVAR_NOT_FOUND));
    EXPECT_THAT(list, IsEmpty());
}

TEST_F(DependencyWalkerTest, WithoutTheSystemsFoldersTheStatusIsThreeAndNothingIsCollected) {
    const std::wstring path = Make(L"asking.dll", {"beside.dll"});
    const testsupport::FailingFolderManager noManager;
    DependencyList list;
    EXPECT_EQ(DependencyWalker(path).CollectDependencies(list), 3U);
    EXPECT_THAT(list, IsEmpty());
}

TEST_F(DependencyWalkerTest, HitBesideALongPathIsGivenInItsExtendedForm) {
    const std::wstring name = folder.NameForLength(240) + L"\\";
    const std::wstring own = Make(name + L"keyreap own.dll", {});
    const DependencyList list = Walk(Make(name + L"app.dll", {"keyreap own.dll"}));
    EXPECT_EQ(list.at(0).path, L"\\\\?\\" + own);
}

TEST_F(DependencyWalkerTest, HitElsewhereIsGivenAsItIs) {
    const std::wstring deep = folder.MakeFolder(folder.NameForLength(235));
    const std::wstring own = folder.MakeFile(deep.substr(folder.Path().size() + 1) + L"\\keyreap own.dll");
    const EnvironmentChange path(L"PATH", deep);
    EXPECT_EQ(own.size(), 251U);
    EXPECT_EQ(Found("keyreap own.dll"), own);
}

TEST_F(DependencyWalkerTest, File32BitSearchesThe32BitSystemFolder) {
    const std::wstring found = Found("oleaut32.dll", ImageBits::bits32);
    BOOL isWow64 = FALSE;
    IsWow64Process(GetCurrentProcess(), &isWow64);
    const bool is64BitSystem = sizeof(void*) == 8 || isWow64;
    const std::wstring expected = is64BitSystem ? WindowsFolder() + L"\\syswow64" : SystemFolder();
    EXPECT_TRUE(IsSamePath(found, expected + L"\\oleaut32.dll")) << testing::PrintToString(found);
}

TEST_F(DependencyWalkerTest, NestedFileSearchesByItsOwnBitnessAndFolder) {
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

TEST_F(DependencyWalkerTest, IsPeFileForwardsToTheImage) {
    EXPECT_TRUE(DependencyWalker(Make(L"app.dll", {})).IsPeFile());
    EXPECT_FALSE(DependencyWalker(folder.MakeFile(L"a.txt", "MZ")).IsPeFile());
}

TEST_F(DependencyWalkerTest, Sha1IsThatOfTheWholeFile) {
    Sha1Digest digest{};
    DependencyWalker walker(folder.MakeFile(L"a.txt", "abc"));
    IPeFile& file = walker;
    ASSERT_TRUE(file.ComputeSha1(digest));
    EXPECT_EQ(digest[0], 0xA9);
    EXPECT_EQ(digest[19], 0x9D);
    const std::string_view text = "abc";
    EXPECT_EQ(digest, Sha1Of(std::as_bytes(std::span(text))));
}

TEST_F(DependencyWalkerTest, Sha1OfAFileThatIsNotMappedLeavesTheDigest) {
    Sha1Digest digest{};
    digest[3] = 7;
    const Sha1Digest before = digest;
    EXPECT_FALSE(DependencyWalker(folder.File(L"missing.dll")).ComputeSha1(digest));
    EXPECT_FALSE(DependencyWalker(folder.MakeFile(L"empty.dll")).ComputeSha1(digest));
    EXPECT_EQ(digest, before);
}

TEST_F(DependencyWalkerTest, WalksATreeOfThirtyDllsFourDeep) {
    struct Dll {
        const wchar_t* name;
        Names imports;
        Names delayImports;
    };
    const Dll dlls[] = {
        {L"n01.dll", {"n04.dll", "n05.dll", "n06.dll", "n07.dll"}, {}},
        {L"n02.dll", {"n08.dll", "n09.dll"}, {"n10.dll", "n11.dll"}},
        {L"n03.dll", {}, {"n12.dll", "n13.dll", "n14.dll", "n15.dll"}},
        {L"n04.dll", {"n16.dll", "n17.dll", "n18.dll", "n19.dll"}, {}},
        {L"n05.dll", {"N02.DLL"}, {}},
        {L"n06.dll", {}, {"n01.dll", "N06.dll"}},
        {L"n07.dll", {"gone.dll"}, {}},
        {L"n08.dll", {"n20.dll", "n21.dll", "n22.dll"}, {}},
        {L"n10.dll", {}, {}},
        {L"n11.dll", {"Gone.DLL", "also gone.dll"}, {}},
        {L"n12.dll", {"n23.dll", "n24.dll"}, {"n25.dll"}},
        {L"n13.dll", {}, {}},
        {L"n14.dll", {"n03.dll"}, {}},
        {L"n15.dll", {}, {}},
        {L"n16.dll", {"n26.dll"}, {"n27.dll"}},
        {L"n17.dll", {}, {}},
        {L"n18.dll", {"n16.dll"}, {}},
        {L"n19.dll", {}, {}},
        {L"n20.dll", {"n28.dll"}, {}},
        {L"n21.dll", {}, {}},
        {L"n22.dll", {}, {}},
        {L"n23.dll", {}, {"n29.dll"}},
        {L"n24.dll", {"n30.dll"}, {}},
        {L"n25.dll", {}, {}},
        {L"n26.dll", {"n01.dll"}, {}},
        {L"n27.dll", {}, {}},
        {L"n28.dll", {"n28.dll"}, {}},
        {L"n29.dll", {}, {}},
        {L"n30.dll", {"n12.dll"}, {}},
    };
    for (const Dll& dll : dlls) {
        Make(dll.name, dll.imports, dll.delayImports);
    }
    // The company is the system's maker except for case: the file is listed, and its imports are not.
    MakeOf(u"microsoft CORPORATION", L"n09.dll", {"hidden.dll"});
    MakeOf(u"Another Company", L"n13.dll", {"n09.dll"});

    const DependencyList list = Walk(Make(L"app.dll", {"n01.dll", "n02.dll"}, {"n03.dll"}));

    std::vector<std::wstring> lines;
    for (const DependencyRecord& record : list) {
        const bool isBeside = IsSamePath(record.path, folder.File(record.name));
        lines.push_back(record.name +
                        (isBeside              ? L""
                         : record.path.empty() ? L" missing"
                                               : L" elsewhere") +
                        (record.isSystem != 0 ? L" system" : L"") +
                        (record.version.empty() ? L"" : L" " + record.version));
    }
    EXPECT_EQ(lines, (std::vector<std::wstring>{
                         L"n01.dll", L"n04.dll",         L"n16.dll",          L"n26.dll",
                         L"n27.dll", L"n17.dll",         L"n18.dll",          L"n19.dll",
                         L"n05.dll", L"N02.DLL",         L"n08.dll",          L"n20.dll",
                         L"n28.dll", L"n21.dll",         L"n22.dll",          L"n09.dll system 1.2.3.4",
                         L"n10.dll", L"n11.dll",         L"Gone.DLL missing", L"also gone.dll missing",
                         L"n06.dll", L"n07.dll",         L"n03.dll",          L"n12.dll",
                         L"n23.dll", L"n29.dll",         L"n24.dll",          L"n30.dll",
                         L"n25.dll", L"n13.dll 1.2.3.4", L"n14.dll",          L"n15.dll"}));
}

} // namespace
} // namespace keyreap
