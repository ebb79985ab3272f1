#include "pe/dependencywalker.h"
#include "pe/fileversion.h"
#include "pe/versiontext.h"
#include "platform/os/file/filefind.h"

#include <windows.h>

#include <gtest/gtest.h>

// The queries on the modules of the system, which this project didn't make.
namespace keyreap {
namespace {

std::wstring SystemFolder() {
    wchar_t folder[MAX_PATH];
    GetSystemDirectoryW(folder, MAX_PATH);
    return folder;
}

std::vector<std::wstring> SystemModules() {
    std::vector<std::wstring> paths;
    FileFind find;
    const std::wstring pattern = SystemFolder() + L"\\*.dll";
    for (bool found = find.FindFile(pattern.c_str()); found; found = find.FindNext()) {
        paths.push_back(find.GetFilePath());
    }
    return paths;
}

// The file version by the system's calls alone, or an empty text.
std::wstring PlainVersion(const std::wstring& path) {
    DWORD ignored = 0;
    std::vector<std::byte> block(GetFileVersionInfoSizeW(path.c_str(), &ignored));
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    if (block.empty() ||
        !GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()) ||
        !VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &length)) {
        return {};
    }
    return FileVersionText(fixed->dwFileVersionMS, fixed->dwFileVersionLS);
}

TEST(SystemModules, HaveTheVersionThatTheSystemReports) {
    std::size_t versions = 0;
    for (const std::wstring& path : SystemModules()) {
        std::wstring version;
        const bool wasRead = ReadFileVersion(path, version);
        EXPECT_EQ(version, PlainVersion(path)) << testing::PrintToString(path);
        versions += wasRead ? 1U : 0U;
    }
    EXPECT_GT(versions, 100U);
}

TEST(SystemModules, OfTheMakerAreKnownByTheirCompany) {
    for (const wchar_t* name : {L"kernel32.dll", L"ole32.dll", L"user32.dll"}) {
        std::wstring company = SystemFolder() + L"\\" + name;
        EXPECT_TRUE(ReadCompanyName(company));
        EXPECT_EQ(company, L"Microsoft Corporation");
    }
}

TEST(SystemModules, CanBeWalkedAndHashed) {
    DependencyWalker walker(SystemFolder() + L"\\shell32.dll");
    EXPECT_TRUE(walker.IsPeFile());
    DependencyList list;
    EXPECT_EQ(walker.CollectDependencies(list), 0U);
    EXPECT_GT(list.size(), 3U);
    Sha1Digest digest{};
    EXPECT_TRUE(walker.ComputeSha1(digest));
    EXPECT_NE(digest, Sha1Digest{});
}

} // namespace
} // namespace keyreap
