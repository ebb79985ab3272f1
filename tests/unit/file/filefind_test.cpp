#include "platform/os/file/filefind.h"
#include "tests/support/temporaryfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::UnorderedElementsAre;
using testsupport::TemporaryFolder;

std::vector<std::wstring> PathsFound(const std::wstring& pattern) {
    std::vector<std::wstring> paths;
    FileFind find;
    for (bool found = find.FindFile(pattern.c_str()); found; found = find.FindNext()) {
        paths.push_back(find.GetFilePath());
    }
    return paths;
}

// Makes a directory the current one for one test.
class CurrentDirectory {
public:
    explicit CurrentDirectory(const std::wstring& directory) {
        GetCurrentDirectoryW(MAX_PATH, former);
        SetCurrentDirectoryW(directory.c_str());
    }
    ~CurrentDirectory() { SetCurrentDirectoryW(former); }

private:
    wchar_t former[MAX_PATH] = {};
};

TEST(SearchRoot, EndsAtTheLastSeparatorOfEitherKind) {
    EXPECT_EQ(SearchRoot(L"C:\\a/b\\*.*"), L"C:\\a/b");
    EXPECT_EQ(SearchRoot(L"C:\\a/b*"), L"C:\\a");
    EXPECT_EQ(SearchRoot(L"C:\\*"), L"C:");
}

TEST(SearchRoot, IsNoneWithoutASeparator) {
    EXPECT_EQ(SearchRoot(L"C:"), std::nullopt);
    EXPECT_EQ(SearchRoot(L""), std::nullopt);
}

TEST(FileFind, GivesTheFullPathOfEachMatch) {
    const TemporaryFolder folder;
    folder.MakeFile(L"a.txt");
    folder.MakeFile(L"b.txt");
    folder.MakeFile(L"c.dll");
    EXPECT_THAT(PathsFound(folder.File(L"*.txt")),
                UnorderedElementsAre(folder.File(L"a.txt"), folder.File(L"b.txt")));
}

TEST(FileFind, NullPatternMeansAllInTheCurrentDirectory) {
    const TemporaryFolder folder;
    folder.MakeFile(L"only.dll");
    const CurrentDirectory inside(folder.Path());
    FileFind find;
    std::vector<std::wstring> names;
    for (bool found = find.FindFile(nullptr); found; found = find.FindNext()) {
        names.emplace_back(find.Entry().cFileName);
    }
    EXPECT_THAT(names, UnorderedElementsAre(L".", L"..", L"only.dll"));
}

TEST(FileFind, FlagReportsWhetherTheLastStepFoundSomething) {
    const TemporaryFolder folder;
    folder.MakeFile(L"a.txt");
    FileFind find;
    EXPECT_FALSE(find.HasFound());
    EXPECT_TRUE(find.FindFile(folder.File(L"*.txt").c_str()));
    EXPECT_TRUE(find.HasFound());
    EXPECT_FALSE(find.FindNext());
    EXPECT_FALSE(find.HasFound());
}

TEST(FileFind, WithoutAMatchIsFalse) {
    const TemporaryFolder folder;
    FileFind find;
    EXPECT_FALSE(find.FindFile(folder.File(L"*.txt").c_str()));
    EXPECT_FALSE(find.FindNext());
}

TEST(FileFind, NewSearchEndsTheOldOne) {
    const TemporaryFolder folder;
    folder.MakeFile(L"one\\a.txt");
    folder.MakeFile(L"two\\b.txt");
    FileFind find;
    ASSERT_TRUE(find.FindFile(folder.File(L"one\\*.txt").c_str()));
    ASSERT_TRUE(find.FindFile(folder.File(L"two\\*.txt").c_str()));
    EXPECT_EQ(find.GetFilePath(), folder.File(L"two\\b.txt"));
    EXPECT_FALSE(find.FindFile(folder.File(L"two\\*.dll").c_str()));
    EXPECT_FALSE(find.HasFound());
}

TEST(FileFind, CloseClearsTheDirectoryAndTheFlag) {
    const TemporaryFolder folder;
    folder.MakeFile(L"a.txt");
    FileFind find;
    ASSERT_TRUE(find.FindFile(folder.File(L"a.txt").c_str()));
    find.Close();
    EXPECT_FALSE(find.HasFound());
    EXPECT_FALSE(find.FindNext());
    EXPECT_EQ(find.GetFilePath(), L"\\a.txt");
}

TEST(FileFind, ResultOf260CharactersHasThePrefix) {
    const TemporaryFolder folder;
    const std::wstring path = folder.MakeFile(folder.NameForLength(260));
    const std::wstring directory = path.substr(0, path.rfind(L'\\'));
    EXPECT_THAT(PathsFound(directory + L"\\n*"), UnorderedElementsAre(L"\\\\?\\" + path));
}

TEST(FileFind, ResultOf259CharactersHasNoPrefix) {
    const TemporaryFolder folder;
    const std::wstring path = folder.MakeFile(folder.NameForLength(259));
    EXPECT_THAT(PathsFound(path), UnorderedElementsAre(path));
}

TEST(FileFind, PatternFrom260CharactersOnIsSearched) {
    const TemporaryFolder folder;
    const std::wstring path = folder.MakeFile(folder.NameForLength(298));
    EXPECT_THAT(PathsFound(path), UnorderedElementsAre(L"\\\\?\\" + path));
}

} // namespace
} // namespace keyreap
