#include "tests/unit/pe/dependencyfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::IsSamePath;
using testsupport::Names;
using testsupport::VersionResource;

class DependencyWalkerTest : public testsupport::DependencyFolderTest {};

TEST_F(DependencyWalkerTest, FileThatIsNoImageDependsOnNothing) {
    EXPECT_THAT(Walk(folder.MakeFile(L"a.txt", "text")), IsEmpty());
    EXPECT_THAT(Walk(folder.MakeFile(L"empty.dll")), IsEmpty());
    EXPECT_THAT(Walk(folder.File(L"missing.dll")), IsEmpty());
}

TEST_F(DependencyWalkerTest, ImportsComeBeforeDelayImportsInTheTablesOrder) {
    EXPECT_THAT(WalkNames(Make(L"app.dll", {"one.dll", "two.dll"}, {"three.dll", "four.dll"})),
                ElementsAre(L"one.dll", L"two.dll", L"three.dll", L"four.dll"));
}

TEST_F(DependencyWalkerTest, DelayImportsAreEnteredLikeLinkedOnes) {
    Make(L"late.dll", {"deep.dll"});
    EXPECT_THAT(WalkNames(Make(L"app.dll", {}, {"late.dll"})), ElementsAre(L"late.dll", L"deep.dll"));
}

TEST_F(DependencyWalkerTest, WalkGoesDepthFirst) {
    Make(L"a.dll", {"a1.dll", "a2.dll"});
    Make(L"a1.dll", {"deep.dll"});
    Make(L"b.dll", {"b1.dll"});
    EXPECT_THAT(WalkNames(Make(L"app.dll", {"a.dll", "b.dll"})),
                ElementsAre(L"a.dll", L"a1.dll", L"deep.dll", L"a2.dll", L"b.dll", L"b1.dll"));
}

TEST_F(DependencyWalkerTest, TwoFilesThatImportEachOtherHaveOneRecordEach) {
    Make(L"one.dll", {"two.dll"});
    Make(L"two.dll", {"one.dll"});
    EXPECT_THAT(WalkNames(Make(L"app.dll", {"one.dll"})), ElementsAre(L"one.dll", L"two.dll"));
}

TEST_F(DependencyWalkerTest, FileThatImportsItselfEnds) {
    EXPECT_THAT(WalkNames(Make(L"self.dll", {"self.dll"})), ElementsAre(L"self.dll"));
}

TEST_F(DependencyWalkerTest, NameInOtherCaseHasOneRecordUnderTheNameMetFirst) {
    Make(L"Own.dll", {"SHARED.DLL"});
    EXPECT_THAT(WalkNames(Make(L"app.dll", {"OWN.dll", "own.DLL"}, {"shared.dll"})),
                ElementsAre(L"OWN.dll", L"SHARED.DLL"));
}

TEST_F(DependencyWalkerTest, NamesOfDifferentLengthsAreDifferent) {
    EXPECT_THAT(WalkNames(Make(L"app.dll", {"a.dll", "a.dl", "a.dll2"})),
                ElementsAre(L"a.dll", L"a.dl", L"a.dll2"));
}

TEST_F(DependencyWalkerTest, BytesOfANameAreWidenedWithoutACodePage) {
    EXPECT_THAT(WalkNames(Make(L"app.dll", {"\xE9.dll"})), ElementsAre(L"\xFFE9.dll"));
}

TEST_F(DependencyWalkerTest, MissingDllHasARecordWithoutPathAndVersion) {
    const DependencyRecord record = Walk(Make(L"app.dll", {"no such file.dll"})).at(0);
    EXPECT_EQ(record.name, L"no such file.dll");
    EXPECT_EQ(record.path, L"");
    EXPECT_EQ(record.version, L"");
    EXPECT_EQ(record.isSystem, 0U);
}

TEST_F(DependencyWalkerTest, RecordHasVersionAndPathOfTheFileFound) {
    const std::wstring path = MakeOf(u"Own", L"own.dll", {});
    const DependencyRecord record = Walk(Make(L"app.dll", {"own.dll"})).at(0);
    EXPECT_EQ(record.path, path);
    EXPECT_EQ(record.version, L"1.2.3.4");
    EXPECT_EQ(record.isSystem, 0U);
}

TEST_F(DependencyWalkerTest, DllWithoutAVersionResourceIsEntered) {
    Make(L"plain.dll", {"deep.dll"});
    const DependencyList list = Walk(Make(L"app.dll", {"plain.dll"}));
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].version, L"");
    EXPECT_EQ(list[1].name, L"deep.dll");
}

TEST_F(DependencyWalkerTest, SystemFileIsListedButNotEnteredInWhateverCaseItsCompanyIsWritten) {
    for (const char16_t* company : {u"Microsoft Corporation", u"MICROSOFT corporation"}) {
        MakeOf(company, L"system.dll", {"deep.dll"});
        const DependencyList list = Walk(Make(L"app.dll", {"system.dll"}));
        ASSERT_EQ(list.size(), 1U);
        EXPECT_EQ(list[0].isSystem, 1U);
        EXPECT_EQ(list[0].version, L"1.2.3.4");
    }
}

TEST_F(DependencyWalkerTest, CompanyThatOnlyBeginsLikeTheSystemsIsEntered) {
    for (const char16_t* company : {u"Microsoft Corporation.", u"Microsoft", u""}) {
        MakeOf(company, L"other.dll", {"deep.dll"});
        EXPECT_EQ(WalkNames(Make(L"app.dll", {"other.dll"})).size(), 2U);
    }
}

TEST_F(DependencyWalkerTest, SecondWalkAddsNothingToTheSameList) {
    Make(L"a.dll", {"b.dll"});
    DependencyWalker walker(Make(L"app.dll", {"a.dll"}));
    DependencyList list;
    EXPECT_EQ(walker.CollectDependencies(list), 0U);
    EXPECT_EQ(walker.CollectDependencies(list), 0U);
    EXPECT_EQ(list.size(), 2U);
}

TEST_F(DependencyWalkerTest, NamesThatTheListHoldsAreNotFollowed) {
    Make(L"a.dll", {"b.dll"});
    DependencyList list{{L"A.DLL", L"", L"", 0}};
    DependencyWalker(Make(L"app.dll", {"a.dll"})).CollectDependencies(list);
    EXPECT_EQ(list.size(), 1U);
}

TEST_F(DependencyWalkerTest, IsPeFileForwardsToTheImage) {
    EXPECT_TRUE(DependencyWalker(Make(L"app.dll", {})).IsPeFile());
    EXPECT_FALSE(DependencyWalker(folder.MakeFile(L"a.txt", "MZ")).IsPeFile());
}

TEST_F(DependencyWalkerTest, Sha1IsThatOfTheWholeFile) {
    Sha1Digest digest{};
    DependencyWalker walker(folder.MakeFile(L"a.txt", "abc"));
    IPeFile& file = walker;
    ASSERT_TRUE(file.ComputeSha1(digest));
    EXPECT_EQ(digest[0], 0xA9);
    EXPECT_EQ(digest[19], 0x9D);
    const std::string_view text = "abc";
    EXPECT_EQ(digest, Sha1Of(std::as_bytes(std::span(text))));
}

TEST_F(DependencyWalkerTest, Sha1OfAFileThatIsNotMappedLeavesTheDigest) {
    Sha1Digest digest{};
    digest[3] = 7;
    const Sha1Digest before = digest;
    EXPECT_FALSE(DependencyWalker(folder.File(L"missing.dll")).ComputeSha1(digest));
    EXPECT_FALSE(DependencyWalker(folder.MakeFile(L"empty.dll")).ComputeSha1(digest));
    EXPECT_EQ(digest, before);
}

TEST_F(DependencyWalkerTest, WalksATreeOfThirtyDllsFourDeep) {
    struct Dll {
        const wchar_t* name;
        Names imports;
        Names delayImports;
    };
    const Dll dlls[] = {
        {L"n01.dll", {"n04.dll", "n05.dll", "n06.dll", "n07.dll"}, {}},
        {L"n02.dll", {"n08.dll", "n09.dll"}, {"n10.dll", "n11.dll"}},
        {L"n03.dll", {}, {"n12.dll", "n13.dll", "n14.dll", "n15.dll"}},
        {L"n04.dll", {"n16.dll", "n17.dll", "n18.dll", "n19.dll"}, {}},
        {L"n05.dll", {"N02.DLL"}, {}},
        {L"n06.dll", {}, {"n01.dll", "N06.dll"}},
        {L"n07.dll", {"gone.dll"}, {}},
        {L"n08.dll", {"n20.dll", "n21.dll", "n22.dll"}, {}},
        {L"n10.dll", {}, {}},
        {L"n11.dll", {"Gone.DLL", "also gone.dll"}, {}},
        {L"n12.dll", {"n23.dll", "n24.dll"}, {"n25.dll"}},
        {L"n13.dll", {}, {}},
        {L"n14.dll", {"n03.dll"}, {}},
        {L"n15.dll", {}, {}},
        {L"n16.dll", {"n26.dll"}, {"n27.dll"}},
        {L"n17.dll", {}, {}},
        {L"n18.dll", {"n16.dll"}, {}},
        {L"n19.dll", {}, {}},
        {L"n20.dll", {"n28.dll"}, {}},
        {L"n21.dll", {}, {}},
        {L"n22.dll", {}, {}},
        {L"n23.dll", {}, {"n29.dll"}},
        {L"n24.dll", {"n30.dll"}, {}},
        {L"n25.dll", {}, {}},
        {L"n26.dll", {"n01.dll"}, {}},
        {L"n27.dll", {}, {}},
        {L"n28.dll", {"n28.dll"}, {}},
        {L"n29.dll", {}, {}},
        {L"n30.dll", {"n12.dll"}, {}},
    };
    for (const Dll& dll : dlls) {
        Make(dll.name, dll.imports, dll.delayImports);
    }
    // The company is the system's maker except for case: the file is listed, and its imports are not.
    MakeOf(u"microsoft CORPORATION", L"n09.dll", {"hidden.dll"});
    MakeOf(u"Another Company", L"n13.dll", {"n09.dll"});

    const DependencyList list = Walk(Make(L"app.dll", {"n01.dll", "n02.dll"}, {"n03.dll"}));

    std::vector<std::wstring> lines;
    for (const DependencyRecord& record : list) {
        const bool isBeside = IsSamePath(record.path, folder.File(record.name));
        lines.push_back(record.name +
                        (isBeside              ? L""
                         : record.path.empty() ? L" missing"
                                               : L" elsewhere") +
                        (record.isSystem != 0 ? L" system" : L"") +
                        (record.version.empty() ? L"" : L" " + record.version));
    }
    EXPECT_EQ(lines, (std::vector<std::wstring>{
                         L"n01.dll", L"n04.dll",         L"n16.dll",          L"n26.dll",
                         L"n27.dll", L"n17.dll",         L"n18.dll",          L"n19.dll",
                         L"n05.dll", L"N02.DLL",         L"n08.dll",          L"n20.dll",
                         L"n28.dll", L"n21.dll",         L"n22.dll",          L"n09.dll system 1.2.3.4",
                         L"n10.dll", L"n11.dll",         L"Gone.DLL missing", L"also gone.dll missing",
                         L"n06.dll", L"n07.dll",         L"n03.dll",          L"n12.dll",
                         L"n23.dll", L"n29.dll",         L"n24.dll",          L"n30.dll",
                         L"n25.dll", L"n13.dll 1.2.3.4", L"n14.dll",          L"n15.dll"}));
}

} // namespace
} // namespace keyreap
