#include "regfile/pathpairs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::_;
using testing::ElementsAre;
using testing::FieldsAre;

const WidePath input(L"D:\\in\\server.dll");
const WidePath share(L"\\\\host\\share\\server.dll");
const WidePath staged(L"C:\\temp\\tlb1.tlb");
const WidePath secondStaged(L"C:\\temp\\tlb2.tlb");

TEST(FormPathPairs, FileInItsOwnPlaceHasNone) {
    EXPECT_TRUE(FormPathPairs(input, {}, {}).empty());
}

TEST(FormPathPairs, CopyOfAShareIsMappedToTheShare) {
    EXPECT_THAT(FormPathPairs(WidePath(L"C:\\temp\\UNC1.tmp\\server.dll"), share, {}),
                ElementsAre(FieldsAre(L"C:\\temp\\UNC1.tmp\\server.dll", L"\\\\host\\share\\server.dll"),
                            FieldsAre(L"C:\\temp\\UNC1.tmp", L"\\\\host\\share")));
}

TEST(FormPathPairs, StagedTypeLibraryIsMappedToTheInput) {
    EXPECT_THAT(FormPathPairs(input, {}, {staged}),
                ElementsAre(FieldsAre(L"C:\\temp\\tlb1.tlb", L"D:\\in\\server.dll"),
                            FieldsAre(L"C:\\temp", L"D:\\in")));
}

TEST(FormPathPairs, OnlyTheStagedTypeLibraryOfAShareHasAPair) {
    EXPECT_THAT(FormPathPairs(WidePath(L"C:\\temp\\UNC1.tmp\\a.exe"), share, {staged}),
                ElementsAre(FieldsAre(L"C:\\temp\\tlb1.tlb", L"\\\\host\\share\\server.dll"), _));
}

TEST(FormPathPairs, OnlyTheFirstStagedTypeLibraryCounts) {
    EXPECT_THAT(FormPathPairs(input, {}, {staged, secondStaged}),
                ElementsAre(FieldsAre(L"C:\\temp\\tlb1.tlb", _), _));
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
