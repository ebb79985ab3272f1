#include "extract/nativefileregister/temporarypaths.h"
#include "tests/support/temporaryfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::TemporaryFolder;

class TemporaryPathsTest : public testing::Test {
protected:
    WidePath File(std::wstring_view name) const { return WidePath(folder.MakeFile(name)); }
    WidePath Directory(std::wstring_view name) const { return WidePath(folder.MakeFolder(name)); }
    std::vector<std::wstring> Left() const { return testsupport::NamesIn(folder.Path()); }

    TemporaryFolder folder;
};

TEST_F(TemporaryPathsTest, RemovesFilesThenTheirDirectory) {
    {
        TemporaryPaths paths;
        paths.directories.push_back(Directory(L"UNC1"));
        paths.files.push_back(File(L"UNC1\\a.dll"));
        paths.files.push_back(File(L"tlb1.tlb"));
    }
    EXPECT_THAT(Left(), IsEmpty());
}

TEST_F(TemporaryPathsTest, RemovesNestedDirectoriesBeforeTheirParents) {
    {
        TemporaryPaths paths;
        paths.directories.push_back(Directory(L"outer"));
        paths.directories.push_back(Directory(L"outer\\inner"));
    }
    EXPECT_THAT(Left(), IsEmpty());
}

TEST_F(TemporaryPathsTest, DirectoryThatIsNotEmptyStays) {
    {
        TemporaryPaths paths;
        paths.directories.push_back(Directory(L"outer"));
        File(L"outer\\not listed.txt");
    }
    EXPECT_THAT(Left(), ElementsAre(L"outer"));
}

TEST_F(TemporaryPathsTest, PatternDeletesItsMatchesButNoDirectory) {
    {
        TemporaryPaths paths;
        File(L"one.tlb");
        File(L"two.tlb");
        File(L"three.dll");
        Directory(L"four.tlb");
        paths.files.push_back(WidePath(folder.File(L"*.tlb")));
    }
    EXPECT_THAT(Left(), ElementsAre(L"four.tlb", L"three.dll"));
}

TEST_F(TemporaryPathsTest, PatternWithoutAMatchDoesNothing) {
    {
        TemporaryPaths paths;
        File(L"one.dll");
        paths.files.push_back(WidePath(folder.File(L"*.tlb")));
    }
    EXPECT_THAT(Left(), ElementsAre(L"one.dll"));
}

TEST_F(TemporaryPathsTest, RemovesTreesWithTheirContents) {
    {
        TemporaryPaths paths;
        File(L"tree\\a\\b.txt");
        paths.trees.push_back(WidePath(folder.File(L"tree")));
    }
    EXPECT_THAT(Left(), IsEmpty());
}

TEST_F(TemporaryPathsTest, RemovesFilesAndDirectoriesWithLongPaths) {
    {
        TemporaryPaths paths;
        for (const std::size_t length : {247U, 248U, 259U, 260U, 298U}) {
            const std::wstring name = folder.NameForLength(length);
            paths.directories.push_back(Directory(name));
            paths.files.push_back(File(name + L"\\a"));
        }
    }
    for (const std::size_t length : {247U, 248U, 259U, 260U, 298U}) {
        EXPECT_FALSE(testsupport::Exists(folder.File(folder.NameForLength(length)))) << length;
    }
}

TEST_F(TemporaryPathsTest, MissingEntriesAndEmptyPathsAreIgnored) {
    {
        TemporaryPaths paths;
        paths.files = {WidePath(), WidePath(folder.File(L"missing"))};
        paths.directories = {WidePath(), WidePath(folder.File(L"missing"))};
        paths.files.push_back(File(L"last.txt"));
    }
    EXPECT_THAT(Left(), IsEmpty());
}

} // namespace
} // namespace keyreap
