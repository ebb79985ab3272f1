#include "extract/nativefileregister/nativefileregister.h"
#include "platform/os/ownedhandle.h"
#include "tests/support/importreplacement.h"
#include "tests/support/scriptedtracing.h"
#include "tests/support/temporaryfolder.h"

#include <oleauto.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testsupport::ImportReplacement;
using testsupport::TemporaryFolder;

// A session's calls of the system for its target, where no result shows them.
class TargetCalls : public testing::Test {
protected:
    bool Capture(const std::wstring& file) {
        return NativeFileRegister(WidePath(file), WidePath(folder.File(L"out.reg")), CaptureMode::keyRedir,
                                  tracing)
            .Register();
    }

    static std::wstring SystemFile(const wchar_t* name) {
        wchar_t directory[MAX_PATH];
        return std::wstring(directory, GetSystemDirectoryW(directory, MAX_PATH)) + L"\\" + name;
    }

    ScriptedTracing tracing;
    TemporaryFolder folder;
};

// The type libraries that were loaded, and the result of loading.
std::vector<std::pair<std::wstring, int>> typeLibs;
HRESULT typeLibResult = S_OK;

HRESULT WINAPI NoteTypeLib(LPCOLESTR file, REGKIND kind, ITypeLib** library) {
    typeLibs.emplace_back(file, kind);
    *library = nullptr;
    return typeLibResult;
}

class TypeLibCalls : public TargetCalls {
protected:
    TypeLibCalls() { typeLibs.clear(); }

    bool CaptureWith(HRESULT result, const std::wstring& name = L"a.tlb") {
        typeLibResult = result;
        return Capture(folder.MakeFile(name, "MSFT" + std::string(0x400, '\0')));
    }

    ImportReplacement replacement{"LoadTypeLibEx", reinterpret_cast<const void*>(&NoteTypeLib)};
};

TEST_F(TypeLibCalls, OnlySOkIsASuccess) {
    EXPECT_TRUE(CaptureWith(S_OK));
    EXPECT_FALSE(CaptureWith(S_FALSE));
    EXPECT_FALSE(CaptureWith(E_FAIL));
}

TEST_F(TypeLibCalls, LibraryIsLoadedForRegistration) {
    constexpr int forRegistration = 1;
    CaptureWith(S_OK);
    EXPECT_THAT(typeLibs, ElementsAre(Pair(folder.File(L"a.tlb"), forRegistration)));
}

TEST_F(TypeLibCalls, LongPathHasItsPrefix) {
    constexpr std::size_t longLength = 270;
    const std::wstring name = folder.NameForLength(longLength);
    CaptureWith(S_OK, name);
    EXPECT_THAT(typeLibs, ElementsAre(Pair(L"\\\\?\\" + folder.File(name), testing::_)));
}

// Modules that were loaded with flags.
std::vector<std::pair<std::wstring, DWORD>> loads;
const ImportReplacement* replacedLoad = nullptr;

HMODULE WINAPI NoteLoad(LPCWSTR file, HANDLE reserved, DWORD flags) {
    loads.emplace_back(file, flags);
    return replacedLoad->Original<decltype(&LoadLibraryExW)>()(file, reserved, flags);
}

class LoadCalls : public TargetCalls {
protected:
    LoadCalls() {
        loads.clear();
        replacedLoad = &replacement;
    }

    ImportReplacement replacement{"LoadLibraryExW", reinterpret_cast<const void*>(&NoteLoad)};
};

TEST_F(LoadCalls, ServersOwnFolderIsSearchedForItsDependencies) {
    constexpr DWORD alteredSearchPath = 8;
    EXPECT_TRUE(Capture(SystemFile(L"hlink.dll")));
    EXPECT_THAT(loads, ElementsAre(Pair(SystemFile(L"hlink.dll"), alteredSearchPath)));
}

TEST_F(LoadCalls, ProgramIsLoadedOnlyForItsResources) {
    constexpr DWORD asImageResource = 0x20;
    EXPECT_TRUE(Capture(SystemFile(L"hostname.exe")));
    EXPECT_THAT(loads, ElementsAre(Pair(SystemFile(L"hostname.exe"), asImageResource)));
}

TEST_F(LoadCalls, FileWithNothingToRunIsNotLoaded) {
    EXPECT_FALSE(Capture(folder.MakeFile(L"a.dll", "no server")));
    EXPECT_THAT(loads, IsEmpty());
}

// The process that was started suspended.
OwnedHandle suspended;
const ImportReplacement* replacedStart = nullptr;

BOOL WINAPI KeepSuspended(LPCWSTR application, LPWSTR commandLine, LPSECURITY_ATTRIBUTES process,
                          LPSECURITY_ATTRIBUTES thread, BOOL inherits, DWORD flags, LPVOID environment,
                          LPCWSTR directory, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION information) {
    const BOOL started = replacedStart->Original<decltype(&CreateProcessW)>()(
        application, commandLine, process, thread, inherits, flags, environment, directory, startup,
        information);
    if (started && (flags & CREATE_SUSPENDED) != 0) {
        HANDLE kept = nullptr;
        DuplicateHandle(GetCurrentProcess(), information->hProcess, GetCurrentProcess(), &kept, 0, FALSE,
                        DUPLICATE_SAME_ACCESS);
        suspended.Reset(kept);
    }
    return started;
}

TEST_F(TargetCalls, SuspendedProgramIsEndedWithStatusZero) {
    const ImportReplacement replacement("CreateProcessW", reinterpret_cast<const void*>(&KeepSuspended));
    replacedStart = &replacement;
    EXPECT_TRUE(Capture(SystemFile(L"hostname.exe")));
    constexpr DWORD patience = 60000;
    ASSERT_TRUE(suspended.Valid());
    EXPECT_EQ(WaitForSingleObject(suspended.Get(), patience), WAIT_OBJECT_0);
    DWORD status = STILL_ACTIVE;
    EXPECT_TRUE(GetExitCodeProcess(suspended.Get(), &status));
    EXPECT_EQ(status, 0U);
    suspended.Reset();
}

} // namespace
} // namespace keyreap
