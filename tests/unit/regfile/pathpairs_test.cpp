#include "regfile/pathpairs.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

const WidePath input(L"D:\\in\\server.dll");
const WidePath share(L"\\\\host\\share\\server.dll");
const WidePath staged(L"C:\\temp\\tlb1.tlb");
const WidePath secondStaged(L"C:\\temp\\tlb2.tlb");

TEST(FormPathPairs, FileInItsOwnPlaceHasNone) {
    EXPECT_TRUE(FormPathPairs(input, {}, {}).empty());
}

TEST(FormPathPairs, CopyOfAShareIsMappedToTheShare) {
    const PathPairs pairs = FormPathPairs(WidePath(L"C:\\temp\\UNC1.tmp\\server.dll"), share, {});
    ASSERT_EQ(pairs.size(), 2U);
    EXPECT_EQ(pairs[0].temporaryPath, L"C:\\temp\\UNC1.tmp\\server.dll");
    EXPECT_EQ(pairs[0].finalPath, L"\\\\host\\share\\server.dll");
    EXPECT_EQ(pairs[1].temporaryPath, L"C:\\temp\\UNC1.tmp");
    EXPECT_EQ(pairs[1].finalPath, L"\\\\host\\share");
}

TEST(FormPathPairs, StagedTypeLibraryIsMappedToTheInput) {
    const PathPairs pairs = FormPathPairs(input, {}, {staged});
    ASSERT_EQ(pairs.size(), 2U);
    EXPECT_EQ(pairs[0].temporaryPath, L"C:\\temp\\tlb1.tlb");
    EXPECT_EQ(pairs[0].finalPath, L"D:\\in\\server.dll");
    EXPECT_EQ(pairs[1].temporaryPath, L"C:\\temp");
    EXPECT_EQ(pairs[1].finalPath, L"D:\\in");
}

TEST(FormPathPairs, OnlyTheStagedTypeLibraryOfAShareHasAPair) {
    const PathPairs pairs = FormPathPairs(WidePath(L"C:\\temp\\UNC1.tmp\\a.exe"), share, {staged});
    ASSERT_EQ(pairs.size(), 2U);
    EXPECT_EQ(pairs[0].temporaryPath, L"C:\\temp\\tlb1.tlb");
    EXPECT_EQ(pairs[0].finalPath, L"\\\\host\\share\\server.dll");
}

TEST(FormPathPairs, OnlyTheFirstStagedTypeLibraryCounts) {
    const PathPairs pairs = FormPathPairs(input, {}, {staged, secondStaged});
    ASSERT_EQ(pairs.size(), 2U);
    EXPECT_EQ(pairs[0].temporaryPath, L"C:\\temp\\tlb1.tlb");
}

TEST(AddPathPairs, FinalPathInTheRootOfADriveHasTheDriveAsItsFolder) {
    PathPairs pairs;
    AddPathPairs(pairs, WidePath(L"C:\\temp\\x\\a.dll"), WidePath(L"C:\\a.dll"));
    EXPECT_EQ(pairs[1].finalPath, L"C:");
}

TEST(AddPathPairs, TemporaryPathWithoutBackslashHasAnEmptyFolder) {
    PathPairs pairs;
    AddPathPairs(pairs, WidePath(L"a.dll"), WidePath(L"\\\\s\\h\\a.dll"));
    EXPECT_EQ(pairs[1].temporaryPath, L"");
}

TEST(AddPathPairs, LongTemporaryPathCarriesThePrefix) {
    const std::wstring longFolder = L"C:\\" + std::wstring(250, L'd');
    PathPairs pairs;
    AddPathPairs(pairs, WidePath(longFolder + L"\\a.dll"), WidePath(L"D:\\a.dll"));
    EXPECT_EQ(pairs[0].temporaryPath, L"\\\\?\\" + longFolder + L"\\a.dll");
    EXPECT_EQ(pairs[1].temporaryPath, L"\\\\?\\" + longFolder);
}

} // namespace
} // namespace keyreap
