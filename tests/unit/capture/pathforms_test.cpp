#include "kit/capture/pathforms.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Piece file = {PieceKind::File, {}, 0};
const Piece folder = {PieceKind::Directory, L"DIR", 0};

Piece Literal(std::wstring text) {
    return {PieceKind::Literal, std::move(text), 0};
}

class PathFormsTest : public testing::Test {
protected:
    PathForms forms{{{L"Z:\\build\\long folder\\bin", false, folder},
                     {L"Z:\\build\\long folder\\bin\\server.dll", true, file}}};
};

TEST_F(PathFormsTest, AFileIsReplacedInAnyCase) {
    EXPECT_THAT(forms.Replaced(L"Z:\\build\\long folder\\bin\\server.dll"), ElementsAre(file));
    EXPECT_THAT(forms.Replaced(L"z:\\BUILD\\Long Folder\\bin\\SERVER.DLL"), ElementsAre(file));
}

TEST_F(PathFormsTest, SlashesOfEitherKindAreTheSame) {
    EXPECT_THAT(forms.Replaced(L"Z:/build/long folder/bin\\server.dll"), ElementsAre(file));
}

TEST_F(PathFormsTest, WhatFollowsAFileStays) {
    for (const std::wstring after : {L",-101", L"\\2", L" /automation", L";other", L"\""}) {
        EXPECT_THAT(forms.Replaced(L"Z:\\build\\long folder\\bin\\server.dll" + after),
                    ElementsAre(file, Literal(after)));
    }
}

TEST_F(PathFormsTest, AQuotedPathKeepsItsQuotes) {
    EXPECT_THAT(forms.Replaced(L"\"Z:\\build\\long folder\\bin\\server.dll\" \"%1\""),
                ElementsAre(Literal(L"\""), file, Literal(L"\" \"%1\"")));
}

TEST_F(PathFormsTest, ThePrefixOfALongPathIsDropped) {
    EXPECT_THAT(forms.Replaced(L"\\\\?\\Z:\\build\\long folder\\bin\\server.dll"), ElementsAre(file));
    EXPECT_THAT(forms.Replaced(L"\\??\\Z:\\build\\long folder\\bin\\server.dll"),
                ElementsAre(Literal(L"\\??\\"), file))
        << "a service's own form";
}

TEST_F(PathFormsTest, AUrlStaysOne) {
    EXPECT_THAT(forms.Replaced(L"file:///Z:/build/long%20folder/bin/server.dll"),
                ElementsAre(Literal(L"file:///"), file));
    EXPECT_THAT(forms.Replaced(L"FILE:///z:/build/long folder/bin/help.chm"),
                ElementsAre(Literal(L"file:///"), folder, Literal(L"/help.chm")));
}

TEST_F(PathFormsTest, ShortNamesAreRecognised) {
    EXPECT_THAT(forms.Replaced(L"Z:\\build\\LONGFO~1\\bin\\server.dll"), ElementsAre(file));
    EXPECT_THAT(forms.Replaced(L"Z:\\build\\LO1A2B~1\\bin\\server.dll"), ElementsAre(file));
    EXPECT_THAT(forms.Replaced(L"Z:\\build\\SHORTF~1\\bin\\server.dll"),
                ElementsAre(Literal(L"Z:\\build\\SHORTF~1\\bin\\server.dll")));
}

TEST_F(PathFormsTest, OnlyWholeNamesAreReplaced) {
    for (const wchar_t* const other :
         {L"Z:\\build\\long folder\\binary\\server.dll", L"Z:\\build\\long folder\\bin two\\server.dll",
          L"xZ:\\build\\long folder\\bin\\server.dll", L"Z:\\build\\long\\bin\\server.dll", L"server.dll"}) {
        EXPECT_THAT(forms.Replaced(other), ElementsAre(Literal(other)));
    }
    EXPECT_THAT(forms.Replaced(L"Z:\\build\\long folder\\bin\\server.dll.config"),
                ElementsAre(folder, Literal(L"\\server.dll.config")));
}

TEST_F(PathFormsTest, EveryPathOfATextIsReplaced) {
    EXPECT_THAT(forms.Replaced(L"Z:\\build\\long folder\\bin;Z:\\build\\long folder\\bin\\server.dll"),
                ElementsAre(folder, Literal(L";"), file));
}

TEST_F(PathFormsTest, ANameAloneIsReplacedOnlyInThePlaceOfAFile) {
    EXPECT_THAT(forms.ReplacedPlace(L"Server.dll"), ElementsAre(file));
    EXPECT_THAT(forms.ReplacedPlace(L"server.dll,-101"), ElementsAre(file, Literal(L",-101")));
    EXPECT_THAT(forms.ReplacedPlace(L"\"server.dll\" /x"),
                ElementsAre(Literal(L"\""), file, Literal(L"\" /x")));
    EXPECT_THAT(forms.ReplacedPlace(L"other.dll"), ElementsAre(Literal(L"other.dll")));
    EXPECT_THAT(forms.ReplacedPlace(L"Z:\\build\\long folder\\bin\\server.dll"), ElementsAre(file));
}

TEST_F(PathFormsTest, PathsInBytesAreFoundInBothWidths) {
    const std::string narrow = "xZ: z:\\build\\LONG folder\\bin\\x";
    std::vector<std::uint8_t> wide = {0};
    for (const char letter : narrow) {
        wide.push_back(static_cast<std::uint8_t>(letter));
        wide.push_back(0);
    }
    EXPECT_TRUE(forms.AreIn({narrow.begin(), narrow.end()}));
    EXPECT_TRUE(forms.AreIn(wide)) << "at an odd place";
    EXPECT_FALSE(forms.AreIn({1, 2, 3}));
    EXPECT_FALSE(forms.AreIn({}));
}

TEST_F(PathFormsTest, APathThatNoTextHasIsReported) {
    EXPECT_EQ(forms.NotFound().size(), 2U);
    forms.Replaced(L"Z:\\build\\long folder\\bin\\server.dll");
    EXPECT_THAT(forms.NotFound(), ElementsAre(L"Z:\\build\\long folder\\bin"));
}

TEST(PathFormsOfAShare, AreThoseOfAShare) {
    PathForms forms({{L"\\\\host\\share\\a.dll", true, file}});
    EXPECT_THAT(forms.Replaced(L"\\\\HOST\\share\\a.dll"), ElementsAre(file));
    EXPECT_THAT(forms.Replaced(L"\\\\?\\UNC\\host\\share\\a.dll"), ElementsAre(file));
    EXPECT_THAT(forms.Replaced(L"file://host/share/a.dll"), ElementsAre(Literal(L"file:///"), file));
}

TEST(AbsolutePathIn, IsADrivesOrASharesPath) {
    EXPECT_EQ(AbsolutePathIn(L"x C:\\Windows\\y.dll,-3"), L"C:\\Windows\\y.dll");
    EXPECT_EQ(AbsolutePathIn(L"\"d:/a\" b"), L"d:/a");
    EXPECT_EQ(AbsolutePathIn(L"\\\\host\\share"), L"\\\\host\\share");
    EXPECT_EQ(AbsolutePathIn(L"file:///c:/x"), L"c:/x");
}

TEST(AbsolutePathIn, IsNoAddressAndNoOtherText) {
    for (const wchar_t* const text : {L"http://a/b", L"a:b", L"%SystemRoot%\\x", L"x\\\\y", L"\\\\", L""}) {
        EXPECT_THAT(AbsolutePathIn(text), IsEmpty()) << testing::PrintToString(text);
    }
}

TEST(MayBeShortNameOf, TakesBeginningsWithANumber) {
    EXPECT_TRUE(MayBeShortNameOf(L"PROGRA~1", L"Program Files"));
    EXPECT_TRUE(MayBeShortNameOf(L"MYSERV~2.DLL", L"my server.dllx"));
    EXPECT_TRUE(MayBeShortNameOf(L"ab~1", L"a b"));
    EXPECT_FALSE(MayBeShortNameOf(L"PROGRA~1", L"Documents"));
    EXPECT_FALSE(MayBeShortNameOf(L"PROGRA~1.EXE", L"program.dll"));
    EXPECT_FALSE(MayBeShortNameOf(L"program", L"program files"));
    EXPECT_FALSE(MayBeShortNameOf(L"PROGRAM~12", L"program files")) << "longer than eight";
    EXPECT_FALSE(MayBeShortNameOf(L"PROGRA~", L"program files"));
    EXPECT_FALSE(MayBeShortNameOf(L"~1", L"program files"));
    EXPECT_FALSE(MayBeShortNameOf(L"BU~1", L"build")) << "which is short itself";
    EXPECT_TRUE(MayBeShortNameOf(L"BU~1", L"bu ild"));
}

} // namespace
} // namespace keyreap
