#include "pe/shimclone.h"
#include "tests/support/environmentchange.h"
#include "tests/support/folderwatch.h"
#include "tests/support/imagebuilder.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/versionresource.h"
#include "tests/unit/pe/versionprocess.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using testsupport::companyWasRead;
using testsupport::EnvironmentChange;
using testsupport::fileWasCopied;
using testsupport::FolderWatch;
using testsupport::ImageBuilder;
using testsupport::RunVersionProgram;
using testsupport::TemporaryFolder;
using testsupport::VersionResource;
using testsupport::versionWasRead;

std::wstring WindowsFolder() {
    wchar_t folder[MAX_PATH];
    GetWindowsDirectoryW(folder, MAX_PATH);
    return folder;
}

// A file that every Windows folder has, with a version resource.
std::wstring SystemFile() {
    return WindowsFolder() + L"\\system32\\kernel32.dll";
}

TemporaryFolder FolderInTheWindowsFolder() {
    const EnvironmentChange there(L"TMP", WindowsFolder() + L"\\temp");
    return TemporaryFolder();
}

OsVersion Version(std::uint32_t majorVersion, std::uint32_t minorVersion) {
    OsVersion version;
    version.majorVersion = majorVersion;
    version.minorVersion = minorVersion;
    return version;
}

std::wstring InUpperCase(std::wstring text) {
    CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

class ShimCloneTest : public testing::Test {
protected:
    std::vector<std::wstring> TemporaryNames() const { return testsupport::NamesIn(temporary.Path()); }

    TemporaryFolder elsewhere;
    TemporaryFolder temporary;
    EnvironmentChange redirected{L"TMP", temporary.Path()};
    const OsVersion windows10 = Version(10, 0);
};

TEST_F(ShimCloneTest, FileInTheWindowsFolderIsCopiedOnWindows10) {
    const ShimClone clone(SystemFile(), windows10);
    EXPECT_TRUE(clone.IsCopy());
    ASSERT_EQ(TemporaryNames().size(), 1U);
    EXPECT_THAT(TemporaryNames(), ElementsAre(StartsWith(L"shi")));
    EXPECT_EQ(clone.Path(), temporary.File(TemporaryNames()[0]));
    EXPECT_EQ(testsupport::FileBytes(clone.Path()).substr(0, 2), "MZ");
}

TEST_F(ShimCloneTest, CopyGoesWithTheObject) {
    static_cast<void>(ShimClone(SystemFile(), windows10));
    EXPECT_THAT(TemporaryNames(), IsEmpty());
    EXPECT_TRUE(testsupport::Exists(SystemFile()));
}

TEST_F(ShimCloneTest, LaterVersionsCopyToo) {
    EXPECT_TRUE(ShimClone(SystemFile(), Version(10, 1)).IsCopy());
    EXPECT_TRUE(ShimClone(SystemFile(), Version(11, 0)).IsCopy());
}

TEST_F(ShimCloneTest, EarlierVersionsReadInPlaceAndMakeNoTemporaryFile) {
    for (const OsVersion& version : {Version(6, 1), Version(6, 3), Version(9, 9)}) {
        const ShimClone clone(SystemFile(), version);
        EXPECT_FALSE(clone.IsCopy());
        EXPECT_EQ(clone.Path(), SystemFile());
        EXPECT_THAT(TemporaryNames(), IsEmpty());
    }
}

TEST_F(ShimCloneTest, SamePathInOtherCaseIsReadInPlace) {
    const std::wstring file = InUpperCase(SystemFile());
    ASSERT_NE(file, SystemFile());
    const ShimClone clone(file, windows10);
    EXPECT_FALSE(clone.IsCopy());
    EXPECT_EQ(clone.Path(), file);
    EXPECT_THAT(TemporaryNames(), IsEmpty());
}

TEST_F(ShimCloneTest, FileOutsideTheWindowsFolderIsReadInPlace) {
    const std::wstring file = elsewhere.MakeFile(L"a.dll", "bytes");
    EXPECT_FALSE(ShimClone(file, windows10).IsCopy());
    EXPECT_FALSE(ShimClone(L"C:", windows10).IsCopy());
    EXPECT_FALSE(ShimClone(L"", windows10).IsCopy());
    EXPECT_THAT(TemporaryNames(), IsEmpty());
}

TEST_F(ShimCloneTest, ExtendedLengthPrefixCountsAsOutside) {
    EXPECT_FALSE(ShimClone(L"\\\\?\\" + SystemFile(), windows10).IsCopy());
}

TEST_F(ShimCloneTest, FailedCopyGivesTheFileItselfAndLeavesTheEmptyOne) {
    const std::wstring missing = WindowsFolder() + L"\\no such file.dll";
    {
        const ShimClone clone(missing, windows10);
        EXPECT_FALSE(clone.IsCopy());
        EXPECT_EQ(clone.Path(), missing);
    }
    ASSERT_THAT(TemporaryNames(), ElementsAre(StartsWith(L"shi")));
    EXPECT_EQ(testsupport::FileBytes(temporary.File(TemporaryNames()[0])), "");
}

TEST_F(ShimCloneTest, NameThatOnlyBeginsLikeTheWindowsFolderCountsAsInside) {
    // The folder's characters decide, not its name.
    const ShimClone clone(WindowsFolder() + L"-no such folder\\a.dll", windows10);
    EXPECT_THAT(TemporaryNames(), ElementsAre(StartsWith(L"shi")));
}

TEST_F(ShimCloneTest, WithoutATemporaryFileTheFileItselfIsRead) {
    const EnvironmentChange missing(L"TMP", temporary.File(L"missing"));
    const ShimClone clone(SystemFile(), windows10);
    EXPECT_FALSE(clone.IsCopy());
    EXPECT_EQ(clone.Path(), SystemFile());
}

// Replace the system's entries: each records its call, and whether the copy existed then.
struct RecordedSuspension {
    std::wstring copy;
    std::vector<std::string> calls;
};

RecordedSuspension recorded;
int savedByTheSystem = 0;

void Record(const std::string& call) {
    const bool isCopied = GetFileAttributesW(recorded.copy.c_str()) != INVALID_FILE_ATTRIBUTES;
    recorded.calls.push_back(call + (isCopied ? " with the copy" : " without a copy"));
}

BOOL WINAPI RecordDisable(PVOID* saved) {
    *saved = &savedByTheSystem;
    Record("disable");
    return TRUE;
}

BOOL WINAPI RecordRevert(PVOID saved) {
    Record(saved == &savedByTheSystem ? "revert" : "revert to something else");
    return TRUE;
}

class CopyUnredirectedTest : public testing::Test {
protected:
    CopyUnredirectedTest() { recorded = {copy, {}}; }

    static Wow64Entry RecordingEntry() {
        Wow64Entry entry;
        entry.disable = RecordDisable;
        entry.revert = RecordRevert;
        return entry;
    }

    TemporaryFolder folder;
    const std::wstring file = folder.MakeFile(L"a.dll", "bytes");
    const std::wstring copy = folder.File(L"copy.dll");
};

TEST_F(CopyUnredirectedTest, RedirectionIsOffForJustTheCopy) {
    EXPECT_TRUE(CopyUnredirected(file, copy, RecordingEntry()));
    EXPECT_THAT(recorded.calls, ElementsAre("disable without a copy", "revert with the copy"));
}

TEST_F(CopyUnredirectedTest, FailedCopyTurnsItOnAgain) {
    EXPECT_FALSE(CopyUnredirected(folder.File(L"missing.dll"), copy, RecordingEntry()));
    EXPECT_THAT(recorded.calls, ElementsAre("disable without a copy", "revert without a copy"));
}

TEST_F(CopyUnredirectedTest, SystemWithoutTheEntriesCopiesAsItIs) {
    EXPECT_TRUE(CopyUnredirected(file, copy, Wow64Entry()));
    EXPECT_EQ(testsupport::FileBytes(copy), "bytes");
}

TEST_F(CopyUnredirectedTest, RedirectionStaysOffWithoutTheRevertEntry) {
    Wow64Entry entry;
    entry.disable = RecordDisable;
    EXPECT_TRUE(CopyUnredirected(file, copy, entry));
    EXPECT_THAT(recorded.calls, ElementsAre("disable without a copy"));
}

TEST_F(CopyUnredirectedTest, CopyTakesThePlaceOfAFileThatIsThere) {
    folder.MakeFile(L"copy.dll", "former");
    EXPECT_TRUE(CopyUnredirected(file, copy, Wow64Entry()));
    EXPECT_EQ(testsupport::FileBytes(copy), "bytes");
}

// The record of the running system is made once a process, so each version has a process of its own.
TEST_F(ShimCloneTest, ProcessOnVersion6NeverMakesATemporaryFile) {
    for (const wchar_t* version : {L"6.1", L"6.3"}) {
        FolderWatch watch(temporary.Path());
        EXPECT_EQ(RunVersionProgram(version, SystemFile()), versionWasRead);
        EXPECT_THAT(watch.NamesMade(), IsEmpty());
    }
}

TEST_F(ShimCloneTest, ProcessOnVersion10ReadsThroughACopyThatGoes) {
    FolderWatch watch(temporary.Path());
    EXPECT_EQ(RunVersionProgram(L"10.0", SystemFile()), versionWasRead | fileWasCopied);
    EXPECT_THAT(watch.NamesMade(), ElementsAre(StartsWith(L"shi"), StartsWith(L"shi")));
    EXPECT_THAT(TemporaryNames(), IsEmpty());
}

TEST_F(ShimCloneTest, ProcessOnVersion10ReadsTheVersionFromTheCopy) {
    const TemporaryFolder inWindows = FolderInTheWindowsFolder();
    const std::string bytes = ImageBuilder().Version(VersionResource::Of(u"Own")).Build().bytes;
    const std::wstring file = inWindows.MakeFile(L"own.dll", bytes);
    // Copying works while another handle may write and delete the file; reading its version in place doesn't.
    const OwnedFile holder(CreateFileW(file.c_str(), GENERIC_WRITE | DELETE,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                       OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(holder.Valid());
    EXPECT_EQ(RunVersionProgram(L"10.0", file), versionWasRead | fileWasCopied);
}

TEST_F(ShimCloneTest, ProcessOnVersion10ReadsOtherFilesInPlace) {
    const std::wstring file = elsewhere.MakeFile(L"kernel32.dll", testsupport::FileBytes(SystemFile()));
    FolderWatch watch(temporary.Path());
    EXPECT_EQ(RunVersionProgram(L"10.0", file), versionWasRead);
    EXPECT_EQ(RunVersionProgram(L"10.0", InUpperCase(SystemFile())), versionWasRead);
    EXPECT_THAT(watch.NamesMade(), IsEmpty());
}

TEST_F(ShimCloneTest, ProcessOnVersion10ReadsTheCompanyOfASystemFileInPlace) {
    FolderWatch watch(temporary.Path());
    EXPECT_EQ(RunVersionProgram(L"10.0", SystemFile(), L"company"), companyWasRead);
    EXPECT_THAT(watch.NamesMade(), IsEmpty());
}

} // namespace
} // namespace keyreap
