#include "platform/os/file/removal.h"
#include "tests/support/temporaryfolder.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::IsEmpty;
using testsupport::Exists;
using testsupport::MakeReadOnly;
using testsupport::TemporaryFolder;

TEST(RemoveTree, RemovesAReadOnlyFileInAReadOnlyDirectory) {
    const TemporaryFolder folder;
    MakeReadOnly(folder.MakeFile(L"locked\\file.txt", "x"));
    MakeReadOnly(folder.File(L"locked"));
    RemoveTree(folder.Path());
    EXPECT_THAT(testsupport::NamesIn(folder.Path()), IsEmpty());
}

TEST(RemoveTree, LeavesTheDirectoryItself) {
    const TemporaryFolder folder;
    folder.MakeFile(L"top\\a\\b\\c.txt");
    folder.MakeFile(L"top\\.hidden");
    RemoveTree(folder.File(L"top"));
    EXPECT_TRUE(Exists(folder.File(L"top")));
    EXPECT_THAT(testsupport::NamesIn(folder.File(L"top")), IsEmpty());
}

TEST(RemoveTree, TakesADirectoryThatEndsInABackslash) {
    const TemporaryFolder folder;
    folder.MakeFile(L"top\\a.txt");
    RemoveTree(folder.File(L"top\\"));
    EXPECT_THAT(testsupport::NamesIn(folder.File(L"top")), IsEmpty());
}

TEST(RemoveTree, EntryThatStaysDoesNotStopTheRemovalOfTheRest) {
    const TemporaryFolder folder;
    folder.MakeFile(L"top\\a.txt");
    const std::wstring open = folder.MakeFile(L"top\\m\\open.txt");
    folder.MakeFile(L"top\\z.txt");
    const HANDLE holder = CreateFileW(open.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    RemoveTree(folder.File(L"top"));
    CloseHandle(holder);
    EXPECT_THAT(testsupport::NamesIn(folder.File(L"top")), testing::ElementsAre(L"m"));
    EXPECT_TRUE(Exists(open));
}

TEST(RemoveTree, OfAMissingDirectoryDoesNothing) {
    const TemporaryFolder folder;
    RemoveTree(folder.File(L"missing"));
    EXPECT_FALSE(Exists(folder.File(L"missing")));
}

TEST(RemoveTree, GoesDownThroughPathsOfAnyLength) {
    const TemporaryFolder folder;
    folder.MakeFile(folder.NameForLength(600));
    RemoveTree(folder.Path());
    EXPECT_THAT(testsupport::NamesIn(folder.Path()), IsEmpty());
}

TEST(RemoveDirectoryLong, RemovesOneEmptyDirectory) {
    const TemporaryFolder folder;
    EXPECT_TRUE(RemoveDirectoryLong(folder.MakeFolder(L"empty")));
    EXPECT_FALSE(Exists(folder.File(L"empty")));
}

TEST(RemoveDirectoryLong, IsFalseForAFullOrMissingDirectory) {
    const TemporaryFolder folder;
    folder.MakeFile(L"full\\a.txt");
    EXPECT_FALSE(RemoveDirectoryLong(folder.File(L"full")));
    EXPECT_FALSE(RemoveDirectoryLong(folder.File(L"missing")));
}

TEST(RemoveDirectoryLong, TakesPathsFrom260CharactersOn) {
    const TemporaryFolder folder;
    for (const std::size_t length : {259U, 260U, 298U}) {
        EXPECT_TRUE(RemoveDirectoryLong(folder.MakeFolder(folder.NameForLength(length)))) << length;
    }
}

TEST(DeleteFileLong, DeletesOneFile) {
    const TemporaryFolder folder;
    EXPECT_TRUE(DeleteFileLong(folder.MakeFile(L"a.txt")));
    EXPECT_FALSE(Exists(folder.File(L"a.txt")));
}

TEST(DeleteFileLong, IsFalseForADirectoryOrAMissingFile) {
    const TemporaryFolder folder;
    EXPECT_FALSE(DeleteFileLong(folder.MakeFolder(L"directory")));
    EXPECT_FALSE(DeleteFileLong(folder.File(L"missing")));
}

TEST(DeleteFileLong, TakesPathsFrom260CharactersOnWithAndWithoutAPrefix) {
    const TemporaryFolder folder;
    const std::wstring path = folder.MakeFile(folder.NameForLength(298));
    EXPECT_TRUE(DeleteFileLong(path));
    EXPECT_FALSE(Exists(path));
    folder.MakeFile(folder.NameForLength(298));
    EXPECT_TRUE(DeleteFileLong(L"\\\\?\\" + path));
}

} // namespace
} // namespace keyreap
