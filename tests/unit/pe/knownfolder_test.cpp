#include "pe/knownfolder.h"
#include "platform/core/text/platformguid.h"
#include "tests/support/importreplacement.h"
#include "tests/unit/pe/failingfoldermanager.h"
#include "tests/unit/pe/scriptedfolder.h"

#include <windows.h>

#include <objbase.h>

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr std::wstring_view windowsFolder = L"{F38BF404-1D43-42F2-9305-67DE0B28FC23}";
constexpr std::wstring_view systemFolder = L"{1AC14E77-02E7-4E5D-B744-2EB1AE5198B7}";
constexpr std::wstring_view systemX86Folder = L"{D65231B0-B2F1-4857-A4CE-A8E7C6EA7D27}";
constexpr std::wstring_view unknownFolder = L"{01234567-89AB-CDEF-0123-456789ABCDEF}";

std::wstring Found(std::wstring_view identifier) {
    std::wstring path = L"before";
    EXPECT_TRUE(FindKnownFolder(identifier, path));
    return path;
}

bool IsFolder(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

TEST(FindKnownFolder, GivesAPathWithABackslashAtItsEnd) {
    wchar_t expected[MAX_PATH];
    GetWindowsDirectoryW(expected, MAX_PATH);
    EXPECT_EQ(lstrcmpiW(Found(windowsFolder).c_str(), (expected + std::wstring(L"\\")).c_str()), 0);
}

TEST(FindKnownFolder, GivesTheSystemFolderOfEachBitness) {
    EXPECT_TRUE(IsFolder(Found(systemFolder)));
    EXPECT_TRUE(IsFolder(Found(systemX86Folder)));
}

TEST(FindKnownFolder, SystemFolderOf32BitFilesIsAnotherOnA64BitSystem) {
    BOOL isWow64 = FALSE;
    IsWow64Process(GetCurrentProcess(), &isWow64);
    if (sizeof(void*) == 8 || isWow64) {
        EXPECT_TRUE(Found(systemX86Folder).ends_with(L"\\syswow64\\") ||
                    Found(systemX86Folder).ends_with(L"\\SysWOW64\\"));
    }
}

TEST(FindKnownFolder, UnknownFolderLeavesThePathAndCountsAsSuccess) {
    EXPECT_EQ(Found(unknownFolder), L"before");
    EXPECT_EQ(Found(L""), L"before");
}

TEST(FindKnownFolder, WithoutTheSystemsManagerFailsAndLeavesThePath) {
    const testsupport::FailingFolderManager noManager;
    std::wstring path = L"before";
    EXPECT_FALSE(FindKnownFolder(windowsFolder, path));
    EXPECT_EQ(path, L"before");
}

TEST(FindKnownFolder, LeavesComAsItWasOnTheThread) {
    Found(windowsFolder);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK) << "the thread was left in an apartment";
    CoUninitialize();
}

TEST(FindKnownFolder, LeavesAnApartmentOfItsOwnKindEnteredOnceMore) {
    ASSERT_EQ(CoInitialize(nullptr), S_OK);
    Found(windowsFolder);
    CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE)
        << "the thread was left out of it";
    CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    CoUninitialize();
}

TEST(FindKnownFolder, WorksInAnApartmentThatIsThere) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_TRUE(IsFolder(Found(windowsFolder)));
    CoUninitialize();
}

testsupport::ScriptedFolderManager* scriptedManager = nullptr;
Guid createdClass;
Guid createdInterface;
DWORD createdWhere = 0;

HRESULT WINAPI CreateScripted(REFCLSID classId, IUnknown*, DWORD where, REFIID interfaceId, void** object) {
    createdClass = FromPlatformGuid(classId);
    createdInterface = FromPlatformGuid(interfaceId);
    createdWhere = where;
    *object = static_cast<IKnownFolderManager*>(scriptedManager);
    return S_OK;
}

class ScriptedKnownFolder : public testing::Test {
protected:
    ScriptedKnownFolder() { scriptedManager = &manager; }

    std::wstring FoundFor(const std::wstring& path) {
        manager.folder.path = path;
        return Found(windowsFolder);
    }

    testsupport::ScriptedFolderManager manager;
    testsupport::ImportReplacement replacement{"CoCreateInstance",
                                               reinterpret_cast<const void*>(&CreateScripted)};
};

TEST_F(ScriptedKnownFolder, IsAskedForItsDefaultPathUnverified) {
    FoundFor(L"C:\\a");
    EXPECT_EQ(createdClass, ParseGuid(L"{4DF0C730-DF9D-4AE3-9153-AA6B82E9795A}"));
    EXPECT_EQ(createdInterface, ParseGuid(L"{8BE2D872-86AA-4D47-B776-32CCA40C7018}"));
    EXPECT_EQ(createdWhere, 1U);
    EXPECT_EQ(FromPlatformGuid(manager.asked), ParseGuid(windowsFolder));
    EXPECT_EQ(manager.folder.askedFlags, 0x4400U);
}

TEST_F(ScriptedKnownFolder, GetsABackslashUnlessItHasOneOrIsEmpty) {
    EXPECT_EQ(FoundFor(L"C:\\a"), L"C:\\a\\");
    EXPECT_EQ(FoundFor(L"C:\\"), L"C:\\");
    EXPECT_EQ(FoundFor(L""), L"");
}

TEST_F(ScriptedKnownFolder, WithoutAPathCountsAsSuccess) {
    manager.folder.result = E_FAIL;
    EXPECT_EQ(FoundFor(L"C:\\a"), L"before");
}

TEST_F(ScriptedKnownFolder, IsReleasedWithItsManager) {
    FoundFor(L"C:\\a");
    EXPECT_EQ(manager.folder.releases, 1);
    EXPECT_EQ(manager.releases, 1);
}

} // namespace
} // namespace keyreap
