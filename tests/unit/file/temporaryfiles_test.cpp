#include "platform/os/file/temporaryfiles.h"
#include "tests/support/temporaryfolder.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Exists;
using testsupport::TemporaryFolder;

// Makes another directory the temporary one of this process for one test.
class TemporaryDirectoryChange {
public:
    explicit TemporaryDirectoryChange(const std::wstring& directory) {
        GetEnvironmentVariableW(L"TMP", former, MAX_PATH);
        SetEnvironmentVariableW(L"TMP", directory.c_str());
    }
    ~TemporaryDirectoryChange() { SetEnvironmentVariableW(L"TMP", former); }

private:
    wchar_t former[MAX_PATH] = {};
};

class TemporaryFiles : public testing::Test {
protected:
    std::vector<std::wstring> Names() const { return testsupport::NamesIn(folder.Path()); }

    std::wstring CreateAfter(const wchar_t* systemName) const {
        return CreateFileWithExtension(folder.File(systemName), WidePath(folder.Path()), L"tlb", L"tlb")
            .Text();
    }

    TemporaryFolder folder;
    TemporaryDirectoryChange redirected{folder.Path()};
};

TEST_F(TemporaryFiles, DirectoryHasNoTrailingBackslash) {
    EXPECT_EQ(GetTempDirectory().Text(), folder.Path());
}

TEST_F(TemporaryFiles, ReservedNameLeavesNoFile) {
    std::wstring name;
    ASSERT_TRUE(ReserveTempName(L"ETL", name));
    EXPECT_EQ(WidePath(name).Parent().Text(), folder.Path());
    EXPECT_EQ(WidePath(name).FileName().substr(0, 3), L"ETL");
    EXPECT_TRUE(name.ends_with(L".tmp"));
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(TemporaryFiles, ReservedNameUsesThreeCharactersOfThePrefix) {
    std::wstring name;
    ASSERT_TRUE(ReserveTempName(L"shim_clone", name));
    EXPECT_EQ(WidePath(name).FileName().substr(0, 3), L"shi");
}

TEST_F(TemporaryFiles, ReservingInAMissingDirectoryFailsAndLeavesTheNameAlone) {
    const TemporaryDirectoryChange missing(folder.File(L"missing"));
    std::wstring name = L"before";
    EXPECT_FALSE(ReserveTempName(L"ETL", name));
    EXPECT_EQ(name, L"before");
}

TEST_F(TemporaryFiles, DirectoryThatTheSystemCannotNameIsEmptyAndReservingThereFails) {
    const TemporaryDirectoryChange tooLong(folder.File(std::wstring(300, L'd')));
    EXPECT_EQ(GetTempDirectory().Text(), L"");
    std::wstring name = L"before";
    EXPECT_FALSE(ReserveTempName(L"ETL", name));
    EXPECT_EQ(name, L"before");
}

TEST_F(TemporaryFiles, ExtensionReplacesTmp) {
    const WidePath path = CreateTempFileWithExtension(L"tlb", L"tlb");
    EXPECT_TRUE(path.Text().ends_with(L".tlb"));
    EXPECT_THAT(Names(), ElementsAre(path.FileName()));
    EXPECT_EQ(testsupport::FileBytes(path.Text()), "");
}

TEST_F(TemporaryFiles, EmptyExtensionKeepsTmp) {
    const WidePath path = CreateTempFileWithExtension(L"tlb", L"");
    EXPECT_TRUE(path.Text().ends_with(L".tmp"));
    EXPECT_THAT(Names(), ElementsAre(path.FileName()));
}

TEST_F(TemporaryFiles, TakenNameGivesTheNextNumberInTheSameDirectory) {
    folder.MakeFile(L"tlb1A2B.tlb", "taken");
    EXPECT_EQ(CreateAfter(L"tlb1A2B.tmp"), folder.File(L"tlb1a2c.tlb"));
    EXPECT_THAT(Names(), ElementsAre(L"tlb1A2B.tlb", L"tlb1a2c.tlb"));
    EXPECT_EQ(testsupport::FileBytes(folder.File(L"tlb1A2B.tlb")), "taken");
}

TEST_F(TemporaryFiles, SecondTakenNameGivesAPathInAMissingDirectoryAndNoFile) {
    folder.MakeFile(L"tlb1A2B.tlb");
    folder.MakeFile(L"tlb1a2c.tlb");
    EXPECT_EQ(CreateAfter(L"tlb1A2B.tmp"), folder.File(L"tlb1a2c\\tlb1a2d.tlb"));
    EXPECT_THAT(Names(), ElementsAre(L"tlb1A2B.tlb", L"tlb1a2c.tlb"));
}

TEST_F(TemporaryFiles, WithoutATemporaryDirectoryTheExtensionAloneNamesAFileInTheCurrentOne) {
    const TemporaryFolder current;
    wchar_t former[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, former);
    SetCurrentDirectoryW(current.Path().c_str());
    const TemporaryDirectoryChange missing(folder.File(L"missing"));
    const WidePath path = CreateTempFileWithExtension(L"tlb", L"tlb");
    SetCurrentDirectoryW(former);
    EXPECT_EQ(path.Text(), L".tlb");
    EXPECT_THAT(testsupport::NamesIn(current.Path()), ElementsAre(L".tlb"));
}

} // namespace
} // namespace keyreap
