#include "platform/os/file/widepath.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

std::wstring Letters(std::size_t count) {
    return std::wstring(count, L'x');
}

std::wstring AbsolutePathOfLength(std::size_t length) {
    return L"C:\\" + Letters(length - 3);
}

TEST(NormalizePath, EmptyStaysEmpty) {
    EXPECT_EQ(NormalizePath(L""), L"");
}

TEST(NormalizePath, BackslashesOnlyGiveNothing) {
    for (std::size_t count = 1; count < 6; ++count) {
        EXPECT_EQ(NormalizePath(std::wstring(count, L'\\')), L"") << count;
    }
}

TEST(NormalizePath, AllTrailingBackslashesGo) {
    EXPECT_EQ(NormalizePath(L"C:\\a\\\\\\"), L"C:\\a");
}

TEST(NormalizePath, DriveRootLosesItsBackslash) {
    EXPECT_EQ(NormalizePath(L"C:\\"), L"C:");
}

TEST(NormalizePath, OneLeadingBackslashGoes) {
    EXPECT_EQ(NormalizePath(L"\\a\\b"), L"a\\b");
}

TEST(NormalizePath, TwoLeadingBackslashesStay) {
    EXPECT_EQ(NormalizePath(L"\\\\server\\share"), L"\\\\server\\share");
}

TEST(NormalizePath, ThreeOrMoreLeadingBackslashesBecomeTwo) {
    EXPECT_EQ(NormalizePath(L"\\\\\\server"), L"\\\\server");
    EXPECT_EQ(NormalizePath(L"\\\\\\\\\\server\\"), L"\\\\server");
}

TEST(NormalizePath, InnerBackslashesForwardSlashesAndDotsStay) {
    EXPECT_EQ(NormalizePath(L"C:\\a\\\\b/./..\\c."), L"C:\\a\\\\b/./..\\c.");
}

TEST(StripExtendedPrefix, DropsThePrefixOnce) {
    EXPECT_EQ(StripExtendedPrefix(L"\\\\?\\C:\\a"), L"C:\\a");
    EXPECT_EQ(StripExtendedPrefix(L"\\\\?\\\\\\?\\C:"), L"\\\\?\\C:");
}

TEST(StripExtendedPrefix, ComparesExactly) {
    EXPECT_EQ(StripExtendedPrefix(L"//?/C:/a"), L"//?/C:/a");
    EXPECT_EQ(StripExtendedPrefix(L"\\\\?"), L"\\\\?");
    EXPECT_EQ(StripExtendedPrefix(L"\\\\.\\C:"), L"\\\\.\\C:");
}

TEST(WidePath, IsBuiltWithoutPrefixAndTrailingBackslash) {
    EXPECT_EQ(WidePath(L"\\\\?\\C:\\a\\").Text(), L"C:\\a");
}

TEST(WidePath, KeepsTheTwoBackslashesOfAShare) {
    EXPECT_EQ(WidePath(L"\\\\server\\share\\").Text(), L"\\\\server\\share");
}

TEST(WidePath, LosesASingleLeadingBackslash) {
    EXPECT_EQ(WidePath(L"\\a").Text(), L"a");
}

TEST(WidePath, OfABarePrefixIsEmpty) {
    EXPECT_TRUE(WidePath(L"\\\\?\\").IsEmpty());
}

TEST(WidePath, PrefixedShareBecomesAPlainShare) {
    EXPECT_EQ(WidePath(L"\\\\?\\\\\\server\\share").Text(), L"\\\\server\\share");
}

TEST(Append, PutsOneBackslashBetween) {
    WidePath path(L"C:\\a\\");
    path.Append(L"\\b\\");
    EXPECT_EQ(path.Text(), L"C:\\a\\b");
}

TEST(Append, OfAnEmptyTextAddsNothing) {
    WidePath path(L"C:\\a");
    path.Append(L"");
    path.Append(L"\\\\\\");
    EXPECT_EQ(path.Text(), L"C:\\a");
}

TEST(Append, ToAnEmptyPathAddsNoBackslash) {
    WidePath path;
    path.Append(L"x86");
    EXPECT_EQ(path.Text(), L"x86");
}

TEST(Append, KeepsTheTwoBackslashesOfAnAppendedShare) {
    WidePath path(L"a");
    path.Append(L"\\\\server");
    EXPECT_EQ(path.Text(), L"a\\\\\\server");
}

TEST(Combine, LengthensItsLeftSideToo) {
    WidePath left(L"C:\\temp");
    const WidePath result = left.Combine(L"one");
    EXPECT_EQ(result.Text(), L"C:\\temp\\one");
    EXPECT_EQ(left, result);
    EXPECT_EQ(left.Combine(L"two").Text(), L"C:\\temp\\one\\two");
}

TEST(FileName, IsThePartAfterTheLastBackslash) {
    EXPECT_EQ(WidePath(L"C:\\a>b\\c.dll").FileName(), L"c.dll");
    EXPECT_EQ(WidePath(L"C:\\a\\b>c").FileName(), L"b>c");
}

TEST(FileName, WithoutABackslashIsThePartAfterTheLastAngle) {
    EXPECT_EQ(WidePath(L"one>two>three.dll").FileName(), L"three.dll");
}

TEST(FileName, WithNeitherIsTheWholeText) {
    EXPECT_EQ(WidePath(L"C:/a/b.dll").FileName(), L"C:/a/b.dll");
}

TEST(FileStem, IsCutAtTheLastDot) {
    EXPECT_EQ(WidePath(L"C:\\d.e\\a.b.dll").FileStem(), L"a.b");
}

TEST(FileStem, OfANameWithoutADotIsWhole) {
    EXPECT_EQ(WidePath(L"C:\\d.e\\file").FileStem(), L"file");
}

TEST(FileStem, OfANameThatBeginsWithItsOnlyDotIsEmpty) {
    EXPECT_EQ(WidePath(L"a\\.dll").FileStem(), L"");
}

TEST(Parent, IsThePartBeforeTheLastBackslash) {
    EXPECT_EQ(WidePath(L"C:\\bin\\x64\\Keyreap.exe").Parent().Text(), L"C:\\bin\\x64");
    EXPECT_EQ(WidePath(L"\\\\server\\share").Parent().Text(), L"\\\\server");
}

TEST(Parent, OfAFileInADriveRootIsTheDriveWithoutBackslash) {
    EXPECT_EQ(WidePath(L"C:\\a.dll").Parent().Text(), L"C:");
}

TEST(Parent, WithoutABackslashIsEmpty) {
    EXPECT_TRUE(WidePath(L"a.dll").Parent().IsEmpty());
    EXPECT_TRUE(WidePath(L"C:").Parent().IsEmpty());
    EXPECT_TRUE(WidePath().Parent().IsEmpty());
}

TEST(Parent, OfABareServerNameIsEmpty) {
    EXPECT_TRUE(WidePath(L"\\\\x").Parent().IsEmpty());
}

TEST(Parent, WithItsOnlyBackslashAtIndexOneIsThePartBeforeIt) {
    EXPECT_EQ(WidePath(L"a\\b").Parent().Text(), L"a");
}

TEST(ExtendedLengthForm, Leaves247CharactersAlone) {
    const std::wstring path = AbsolutePathOfLength(247);
    EXPECT_EQ(ExtendedLengthForm(path), path);
    EXPECT_EQ(WidePath(path).ExtendedLengthForm(), path);
}

TEST(ExtendedLengthForm, PrefixesFrom248CharactersOn) {
    const std::wstring path = AbsolutePathOfLength(248);
    EXPECT_EQ(ExtendedLengthForm(path), L"\\\\?\\" + path);
    EXPECT_EQ(WidePath(path).ExtendedLengthForm(), L"\\\\?\\" + path);
}

TEST(ExtendedLengthForm, OfItsOwnResultIsUnchanged) {
    const std::wstring result = ExtendedLengthForm(AbsolutePathOfLength(248));
    EXPECT_EQ(ExtendedLengthForm(result), result);
}

TEST(ExtendedLengthForm, ShareGetsThePrefixBeforeItsTwoBackslashesAndNoUncForm) {
    const std::wstring path = L"\\\\server\\" + Letters(300);
    EXPECT_EQ(ExtendedLengthForm(path), L"\\\\?\\" + path);
}

TEST(ExtendedLengthForm, LeavesLongRelativePathsAlone) {
    EXPECT_EQ(ExtendedLengthForm(Letters(300)), Letters(300));
    EXPECT_EQ(ExtendedLengthForm(L"\\" + Letters(300)), L"\\" + Letters(300));
}

TEST(PrefixedFromMaxPath, Leaves259CharactersAlone) {
    EXPECT_EQ(PrefixedFromMaxPath(AbsolutePathOfLength(259)), AbsolutePathOfLength(259));
}

TEST(PrefixedFromMaxPath, PrefixesFrom260CharactersOn) {
    EXPECT_EQ(PrefixedFromMaxPath(AbsolutePathOfLength(260)), L"\\\\?\\" + AbsolutePathOfLength(260));
}

TEST(PrefixedFromMaxPath, PrefixesRelativePathsToo) {
    EXPECT_EQ(PrefixedFromMaxPath(Letters(260)), L"\\\\?\\" + Letters(260));
}

TEST(PrefixedFromMaxPath, NeverPrefixesTwice) {
    const std::wstring once = PrefixedFromMaxPath(AbsolutePathOfLength(260));
    EXPECT_EQ(PrefixedFromMaxPath(once), once);
}

TEST(IsUncPath, NeedsTwoBackslashesAndAThirdCharacter) {
    EXPECT_TRUE(IsUncPath(L"\\\\server\\share\\a.dll"));
    EXPECT_TRUE(IsUncPath(L"\\\\s"));
    EXPECT_FALSE(IsUncPath(L"\\\\"));
    EXPECT_FALSE(IsUncPath(L"\\server"));
    EXPECT_FALSE(IsUncPath(L"//server/share"));
    EXPECT_FALSE(IsUncPath(L"C:\\a.dll"));
    EXPECT_FALSE(IsUncPath(L""));
}

TEST(IsUncPath, ExtendedLengthNameIsNotOnAShare) {
    EXPECT_FALSE(IsUncPath(L"\\\\?\\C:\\a.dll"));
    EXPECT_FALSE(IsUncPath(L"\\\\?\\UNC\\server\\share"));
}

TEST(IsUncPath, DeviceNameCountsAsOnAShare) {
    EXPECT_TRUE(IsUncPath(L"\\\\.\\C:"));
}

} // namespace
} // namespace keyreap
