#include "extract/nativefileregister/target.h"
#include "tests/support/importreplacement.h"
#include "tests/support/scratchkey.h"
#include "tests/support/temporaryfolder.h"

#include <oleauto.h>

#include <gtest/gtest.h>

#include <string>

namespace keyreap {
namespace {

using testsupport::ImportReplacement;
using testsupport::ScratchKey;
using testsupport::TemporaryFolder;

WidePath SystemFile(const wchar_t* name) {
    wchar_t directory[MAX_PATH];
    return WidePath(std::wstring(directory, GetSystemDirectoryW(directory, MAX_PATH)) + L"\\" + name);
}

constexpr wchar_t server[] = L"hlink.dll";
constexpr wchar_t program[] = L"hostname.exe";

// Files that are classified and run without a session.
class TargetTest : public testing::Test {
protected:
    Target Classify(const WidePath& file, CaptureMode mode = CaptureMode::both) {
        return ClassifyTarget(file, mode, staged);
    }

    WidePath MakeFile(const wchar_t* name, const std::string& bytes) const {
        return WidePath(folder.MakeFile(name, bytes));
    }

    WidePath TypeLibrary() const { return MakeFile(L"a.tlb", "MSFT" + std::string(0x400, '\0')); }

    TemporaryFolder folder;
    TemporaryPaths staged;
};

int startedProcesses = 0;

BOOL WINAPI CountProcess(LPCWSTR, LPWSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD, LPVOID,
                         LPCWSTR, LPSTARTUPINFOW, LPPROCESS_INFORMATION) {
    ++startedProcesses;
    SetLastError(ERROR_BAD_EXE_FORMAT);
    return FALSE;
}

TEST_F(TargetTest, ServerHasTheExportAndIsNeverStarted) {
    startedProcesses = 0;
    const ImportReplacement replacement("CreateProcessW", reinterpret_cast<const void*>(&CountProcess));
    const Target target = Classify(SystemFile(server));
    EXPECT_EQ(startedProcesses, 0);
    EXPECT_TRUE(target.hasRegisterExport);
    EXPECT_FALSE(target.isExecutable);
    EXPECT_TRUE(target.typeLibFile.IsEmpty());
}

TEST_F(TargetTest, ProgramIsExecutableAndHasNoExport) {
    const Target target = Classify(SystemFile(program));
    EXPECT_FALSE(target.hasRegisterExport);
    EXPECT_TRUE(target.isExecutable);
    EXPECT_TRUE(target.typeLibFile.IsEmpty());
}

TEST_F(TargetTest, TypeLibraryFileIsRegisteredAsItIs) {
    const WidePath library = TypeLibrary();
    const Target target = Classify(library);
    EXPECT_EQ(target.typeLibFile, library);
    EXPECT_FALSE(target.hasRegisterExport);
    EXPECT_FALSE(target.isExecutable);
    EXPECT_TRUE(staged.files.empty());
}

TEST_F(TargetTest, AnyOtherFileIsNoTarget) {
    for (const WidePath& file : {MakeFile(L"a.dll", "text"), WidePath(folder.File(L"missing.dll"))}) {
        const Target target = Classify(file);
        EXPECT_TRUE(target.typeLibFile.IsEmpty());
        EXPECT_FALSE(target.hasRegisterExport);
        EXPECT_FALSE(target.isExecutable);
    }
}

TEST_F(TargetTest, ProgramIsTracedInEveryMode) {
    for (const CaptureMode mode : {CaptureMode::keyRedir, CaptureMode::trace, CaptureMode::both}) {
        EXPECT_EQ(Classify(SystemFile(program), mode).captureMode, CaptureMode::trace);
    }
}

TEST_F(TargetTest, AnyOtherFileKeepsTheModeThatWasAskedFor) {
    for (const CaptureMode mode : {CaptureMode::keyRedir, CaptureMode::trace, CaptureMode::both}) {
        EXPECT_EQ(Classify(SystemFile(server), mode).captureMode, mode);
        EXPECT_EQ(Classify(TypeLibrary(), mode).captureMode, mode);
        EXPECT_EQ(Classify(MakeFile(L"a.dll", "text"), mode).captureMode, mode);
    }
}

Target WithExport() {
    Target target;
    target.hasRegisterExport = true;
    return target;
}

Target Program() {
    Target target;
    target.isExecutable = true;
    return target;
}

TEST(IsExecutable, OnlyForFilesThatTheSystemStarts) {
    EXPECT_TRUE(IsExecutable(SystemFile(program)));
    EXPECT_FALSE(IsExecutable(SystemFile(server)));
    EXPECT_FALSE(IsExecutable(WidePath(L"C:\\missing.exe")));
}

// The servers' classes go to a scratch key.
class RunTargetTest : public testing::Test {
protected:
    RunTargetTest() { EXPECT_EQ(RegOverridePredefKey(HKEY_CLASSES_ROOT, scratch.Handle()), ERROR_SUCCESS); }
    ~RunTargetTest() override { RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr); }

private:
    ScratchKey scratch;
};

TEST_F(RunTargetTest, CalledExportSucceedsAndItsModuleStaysLoaded) {
    const TargetRun run = RunTarget(WithExport(), SystemFile(server));
    EXPECT_TRUE(run.succeeded);
    EXPECT_TRUE(run.module.Valid());
    EXPECT_EQ(run.module.Get(), GetModuleHandleW(server));
    EXPECT_EQ(run.serverProcessId, 0U);
    EXPECT_EQ(run.ReportedResult(), S_OK);
}

TEST_F(RunTargetTest, ModuleIsUnloadedWithTheResult) {
    {
        const TargetRun run = RunTarget(WithExport(), SystemFile(server));
        ASSERT_TRUE(run.module.Valid());
    }
    EXPECT_EQ(GetModuleHandleW(server), nullptr);
}

TEST_F(RunTargetTest, ExportOfAFileThatCannotBeLoadedFails) {
    const TargetRun run = RunTarget(WithExport(), WidePath(L"C:\\missing.dll"));
    EXPECT_FALSE(run.succeeded);
    EXPECT_FALSE(run.module.Valid());
}

TEST_F(RunTargetTest, LoadedModuleWithoutTheExportFails) {
    const TargetRun run = RunTarget(WithExport(), SystemFile(L"version.dll"));
    EXPECT_FALSE(run.succeeded);
    EXPECT_TRUE(run.module.Valid());
    EXPECT_EQ(run.ReportedResult(), std::nullopt);
}

TEST_F(RunTargetTest, ExportComesBeforeTheProgram) {
    Target target = WithExport();
    target.isExecutable = true;
    const TargetRun run = RunTarget(target, SystemFile(server));
    EXPECT_TRUE(run.succeeded);
    EXPECT_TRUE(run.module.Valid());
}

TEST_F(RunTargetTest, ProgramReportsTheIdOfItsProcessAndLoadsNothing) {
    const TargetRun run = RunTarget(Program(), SystemFile(program));
    EXPECT_TRUE(run.succeeded);
    EXPECT_NE(run.serverProcessId, 0U);
    EXPECT_FALSE(run.module.Valid());
}

TEST_F(RunTargetTest, TargetWithNothingToRunFails) {
    const TargetRun run = RunTarget(Target(), SystemFile(server));
    EXPECT_FALSE(run.succeeded);
    EXPECT_FALSE(run.module.Valid());
    EXPECT_EQ(run.serverProcessId, 0U);
}

TEST(RegisterExecutable, ProgramThatCannotBeStartedFailsAndHasNoId) {
    const TargetRun run = RegisterExecutable(WidePath(L"C:\\missing.exe"));
    EXPECT_FALSE(run.succeeded);
    EXPECT_EQ(run.serverProcessId, 0U);
}

// The command line of the last process that was started.
std::wstring startedCommandLine;

BOOL WINAPI NoteCommandLine(LPCWSTR, LPWSTR commandLine, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL,
                            DWORD, LPVOID, LPCWSTR, LPSTARTUPINFOW, LPPROCESS_INFORMATION) {
    startedCommandLine = commandLine;
    SetLastError(ERROR_FILE_NOT_FOUND);
    return FALSE;
}

TEST(RegisterExecutable, CommandLineEndsInABlank) {
    const ImportReplacement replacement("CreateProcessW", reinterpret_cast<const void*>(&NoteCommandLine));
    RegisterExecutable(WidePath(L"C:\\a b.exe"));
    EXPECT_EQ(startedCommandLine, L"\"C:\\a b.exe\" /REGSERVER ");
}

HRESULT typeLibResult = S_OK;
int typeLibReleases = 0;

// A type library that counts its releases and does nothing else.
class CountedTypeLib : public ITypeLib {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override {
        ++typeLibReleases;
        return 0;
    }
    UINT STDMETHODCALLTYPE GetTypeInfoCount() override { return 0; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoType(UINT, TYPEKIND*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoOfGuid(REFGUID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetLibAttr(TLIBATTR**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeComp(ITypeComp**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDocumentation(INT, BSTR*, BSTR*, DWORD*, BSTR*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE IsName(LPOLESTR, ULONG, BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE FindName(LPOLESTR, ULONG, ITypeInfo**, MEMBERID*, USHORT*) override {
        return E_NOTIMPL;
    }
    void STDMETHODCALLTYPE ReleaseTLibAttr(TLIBATTR*) override {}
};

// Gives a library with every code of success, also with one that counts as a failure.
HRESULT WINAPI GiveTypeLibResult(LPCOLESTR, REGKIND, ITypeLib** library) {
    static CountedTypeLib counted;
    *library = SUCCEEDED(typeLibResult) ? &counted : nullptr;
    return typeLibResult;
}

TEST(RegisterTypeLib, OnlySOkIsASuccess) {
    const ImportReplacement replacement("LoadTypeLibEx", reinterpret_cast<const void*>(&GiveTypeLibResult));
    for (const HRESULT result : {S_OK, S_FALSE, E_FAIL}) {
        typeLibResult = result;
        EXPECT_EQ(RegisterTypeLib(WidePath(L"C:\\a.tlb")), result == S_OK);
    }
}

TEST(RegisterTypeLib, LibraryIsReleasedOnceWhateverTheResult) {
    const ImportReplacement replacement("LoadTypeLibEx", reinterpret_cast<const void*>(&GiveTypeLibResult));
    for (const HRESULT result : {S_OK, S_FALSE}) {
        typeLibResult = result;
        typeLibReleases = 0;
        RegisterTypeLib(WidePath(L"C:\\a.tlb"));
        EXPECT_EQ(typeLibReleases, 1);
    }
}

TEST(RegisterTypeLib, FileThatIsNoTypeLibraryFails) {
    EXPECT_FALSE(RegisterTypeLib(SystemFile(program)));
}

} // namespace
} // namespace keyreap
