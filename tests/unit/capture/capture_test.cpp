#include "kit/capture/capture.h"
#include "kit/capture/serverpaths.h"
#include "tests/unit/capture/capturelines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testsupport::DocumentOf;

std::vector<std::wstring> TextsOf(const std::vector<CapturedPath>& paths) {
    std::vector<std::wstring> texts;
    for (const CapturedPath& path : paths) {
        texts.push_back(path.path);
    }
    return texts;
}

TEST(HasValue, KeysAndDeletionsAreNoValues) {
    EXPECT_FALSE(HasValue(DocumentOf({L"[HKEY_CLASSES_ROOT\\x]", L"@=-", L"[-HKEY_CLASSES_ROOT\\y]"})));
    EXPECT_TRUE(HasValue(DocumentOf({L"[HKEY_CLASSES_ROOT\\x]", L"@=\"\""})));
}

TEST(IsPlaceOfFile, OnlyDefaultValuesOfSomeKeysAre) {
    EXPECT_TRUE(IsPlaceOfFile(L"HKEY_CLASSES_ROOT\\CLSID\\{0}\\INPROCSERVER32", L""));
    EXPECT_FALSE(IsPlaceOfFile(L"HKEY_CLASSES_ROOT\\CLSID\\{0}\\InprocServer32", L"ThreadingModel"));
    EXPECT_FALSE(IsPlaceOfFile(L"HKEY_CLASSES_ROOT\\CLSID\\{0}\\ProgID", L""));
}

TEST(IsOfSystem, TheMakersNumbersHaveTheSameEnding) {
    EXPECT_TRUE(IsOfSystem(L"{00020400-0000-0000-C000-000000000046}"));
    EXPECT_TRUE(IsOfSystem(L"{00020400-0000-0000-c000-000000000046}"));
    EXPECT_FALSE(IsOfSystem(L"{00020400-0000-0000-C000-000000000047}"));
    EXPECT_FALSE(IsOfSystem(L"Name-0000-0000-C000-000000000046}"));
}

TEST(IsOfSystem, TheCategoriesOfEverySystemAre) {
    EXPECT_TRUE(IsOfSystem(L"{7dd95801-9882-11CF-9FA9-00AA006C42C4}"));
    EXPECT_TRUE(IsOfSystem(L"{40FC6ED4-2438-11CF-A3DB-080036F12502}"));
    EXPECT_FALSE(IsOfSystem(L"{7DD95803-9882-11CF-9FA9-00AA006C42C4}"));
}

TEST(PathsOfServers, FoldersAreThereOnceAndNoDriveIsOne) {
    const std::vector<std::wstring> servers = {L"Z:\\b\\one.dll", L"Z:\\B\\two.dll", L"Z:\\three.dll"};
    EXPECT_THAT(TextsOf(FilesOfServers(servers)),
                ElementsAre(L"Z:\\b\\one.dll", L"Z:\\B\\two.dll", L"Z:\\three.dll"));
    EXPECT_THAT(TextsOf(FoldersOfServers(servers, L"DIR")), ElementsAre(L"Z:\\b"));
}

TEST(AbsolutePathLeftIn, OnlyLiteralsAreSearched) {
    EXPECT_EQ(AbsolutePathLeftIn({{PieceKind::Directory, L"C:\\a", 0}, {PieceKind::Literal, L"\\x", 0}}),
              L"");
    EXPECT_EQ(AbsolutePathLeftIn({{PieceKind::Literal, L"x=D:\\y", 0}}), L"D:\\y");
}

} // namespace
} // namespace keyreap
