#include "tools/capturecheck/windowspath.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr const char* here = "/made/up";

TEST(WindowsPathTest, IsOnDriveZForPathsOfThisMachine) {
    EXPECT_EQ(WindowsPath("a b.dll", here), R"(Z:\made\up\a b.dll)");
    EXPECT_EQ(WindowsPath("/x//y/", here), R"(Z:\x\y)");
    EXPECT_EQ(WindowsPath("sub\\x.dll", here), R"(Z:\made\up\sub\x.dll)");
    EXPECT_EQ(WindowsPath("/", here), R"(Z:\)");
    EXPECT_EQ(WindowsPath("../x", here), R"(Z:\made\x)");
}

TEST(WindowsPathTest, StaysWhatItIs) {
    for (const char* word : {"", R"(C:\x)", "z:x", R"(\\server\share\x)", R"(\\?\Z:\x)"}) {
        EXPECT_EQ(WindowsPath(word, here), word);
    }
}

TEST(IsRelativeTest, IsTrueForWordsCountedFromTheCurrentFolder) {
    for (const char* word : {"a", "./a", "..", "Z:a", "c:"}) {
        EXPECT_TRUE(IsRelative(word)) << word;
    }
    for (const char* word : {"", "/a", R"(\a)", R"(Z:\a)", "Z:/a", R"(\\server\share)", R"(\\?\Z:\a)"}) {
        EXPECT_FALSE(IsRelative(word)) << word;
    }
}

TEST(HostPathTest, IsTheSameForAllSpellings) {
    for (const char* word :
         {R"(Z:\a\b)", "z:/a/b", R"(\\?\Z:\a\b)", R"(\\.\z:\a\.\x\..\b\)", R"(Z:\\a\\b)"}) {
        EXPECT_EQ(HostPath(word, here), "/a/b") << word;
    }
    EXPECT_EQ(HostPath("Z:b", here), "/made/up/b");
    // The program drops the prefix, and the rest is relative to the current folder.
    EXPECT_EQ(HostPath(R"(\\?\unix\a)", here), "/made/up/unix/a");
    EXPECT_EQ(HostPath(R"(Z:\)", here), "/");
}

TEST(HostPathTest, IsEmptyOnOtherDrivesAndShares) {
    for (const char* word : {R"(C:\a)", R"(d:a)", R"(\\server\share\a)", ""}) {
        EXPECT_EQ(HostPath(word, here), std::nullopt) << word;
    }
}

TEST(NameFaultTest, IsEmptyForOrdinaryNames) {
    for (const char* word : {R"(Z:\a.b\c d\.e.reg)", R"(C:\x)", R"(\\?\Z:\x)", R"(Z:\auxiliary\nullify.reg)",
                             R"(Z:\aux\x)", R"(Z:\com10)", R"(Z:\com)", R"(Z:\a \x)", "", R"(Z:\a\..\x)"}) {
        EXPECT_EQ(NameFault(word), "") << word;
    }
}

TEST(NameFaultTest, IsADevice) {
    for (const char* name :
         {"aux.reg", "NUL", "con", "CON .x", "Com1.x", "lpt9", "com\u00B2.reg", "conin$", "PRN.a.b"}) {
        EXPECT_NE(NameFault(std::string(R"(Z:\a\)") + name).find("device"), std::string::npos) << name;
        EXPECT_NE(NameFault(name).find("device"), std::string::npos) << name;
    }
}

TEST(NameFaultTest, IsAnEndThatWindowsLeavesOut) {
    EXPECT_NE(NameFault(R"(Z:\a.reg.)").find("dot"), std::string::npos);
    EXPECT_NE(NameFault(R"(Z:\a.\x)").find("dot"), std::string::npos);
    EXPECT_NE(NameFault(R"(Z:\a.reg )").find("blank"), std::string::npos);
}

TEST(NameFaultTest, IsADevicePrefixWithoutADrive) {
    // The host below Windows would take the second path for a path of this machine.
    for (const char* word : {R"(\\?\unix\a)", R"(\\.\unix\a)", R"(\\.\GLOBALROOT\a)", R"(\\?\\\.\unix\a)"}) {
        EXPECT_NE(NameFault(word).find("drive"), std::string::npos) << word;
    }
}

TEST(NameFaultTest, IsACharacterThatNoNameHas) {
    EXPECT_NE(NameFault("Z:\\a\"b").find("double quote"), std::string::npos);
    EXPECT_NE(NameFault("Z:\\a\"\\b").find("double quote"), std::string::npos);
    for (const char* name : {"a<b", "a>b", "a|b", "a*b", "a?b", "a\tb", "a:b"}) {
        EXPECT_NE(NameFault(std::string(R"(Z:\)") + name).find("character"), std::string::npos) << name;
    }
    EXPECT_NE(NameFault("Z:\\\xFF").find("UTF-8"), std::string::npos);
}

} // namespace
} // namespace keyreap
