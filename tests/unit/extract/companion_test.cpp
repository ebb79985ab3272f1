#include "extract/companion.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

FilePair Pair(std::wstring_view source, std::wstring_view reg) {
    return {WidePath(source), WidePath(reg)};
}

TEST(CompanionPath, IsInASiblingFolderUnderTheSameName) {
    EXPECT_EQ(CompanionPath(WidePath(L"C:\\bin\\x64\\Keyreap.exe")).Text(), L"C:\\bin\\x86\\Keyreap.exe");
    EXPECT_EQ(CompanionPath(WidePath(L"C:\\bin\\any\\Other.exe")).Text(), L"C:\\bin\\x86\\Other.exe");
}

TEST(CompanionPath, IsRelativeWhenTheFolderHasNoParent) {
    EXPECT_EQ(CompanionPath(WidePath(L"C:\\Keyreap.exe")).Text(), L"x86\\Keyreap.exe");
}

TEST(CompanionPath, OfAFolderInTheRootOfADriveKeepsTheDrive) {
    EXPECT_EQ(CompanionPath(WidePath(L"C:\\x64\\Keyreap.exe")).Text(), L"C:\\x86\\Keyreap.exe");
}

TEST(CompanionCommandLine, HasTwoBlanksAfterTheVerb) {
    EXPECT_EQ(CompanionCommandLine(WidePath(L"C:\\b\\x86\\K.exe"), {Pair(L"a b.dll", L"C:\\o\\a.reg")},
                                   CaptureMode::keyRedir),
              L"\"C:\\b\\x86\\K.exe\" extreg  \"a b.dll\" \"C:\\o\\a.reg\" keyRedir");
}

TEST(CompanionCommandLine, ContainsEveryPairInOrder) {
    EXPECT_EQ(
        CompanionCommandLine(WidePath(L"K.exe"), {Pair(L"a", L"1"), Pair(L"b", L"2")}, CaptureMode::both),
        L"\"K.exe\" extreg  \"a\" \"1\" \"b\" \"2\" both");
}

TEST(CompanionCommandLine, EscapesNothing) {
    EXPECT_EQ(CompanionCommandLine(WidePath(L"K.exe"), {Pair(L"a\"b", L"c%1")}, CaptureMode::trace),
              L"\"K.exe\" extreg  \"a\"b\" \"c%1\" trace");
}

TEST(CompanionCommandLine, LongPathsHaveThePrefix) {
    const std::wstring longPath = L"C:\\" + std::wstring(245, L'd');
    EXPECT_EQ(CompanionCommandLine(WidePath(L"K.exe"), {Pair(longPath, L"o")}, CaptureMode::both),
              L"\"K.exe\" extreg  \"\\\\?\\" + longPath + L"\" \"o\" both");
}

} // namespace
} // namespace keyreap
