#include "extract/nativefileregister/nativefileregister.h"
#include "regfile/regtext.h"
#include "registry/regkey.h"
#include "tests/support/importreplacement.h"
#include "tests/support/scratchkey.h"
#include "tests/support/scriptedtracing.h"
#include "tests/support/temporaryfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace keyreap {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testsupport::FileBytes;
using testsupport::ImportReplacement;
using testsupport::ScratchKey;
using testsupport::TemporaryFolder;
using testsupport::Utf16Document;

constexpr wchar_t headerAlone[] = L"Windows Registry Editor Version 5.00\r\n";
constexpr wchar_t serverClass[] = L"CLSID\\{79EAC9D0-BAF9-11CE-8C82-00AA004BA90B}";

bool IsStart(const std::wstring& call) {
    return call.starts_with(L"start");
}

bool IsOpen(const std::wstring& call) {
    return call.starts_with(L"open");
}

// The redirected HKEY_LOCAL_MACHINE has an empty Software\\Classes; the real one is never empty.
bool RootsAreRedirected() {
    const RegKey classes(L"Software\\Classes", HKEY_LOCAL_MACHINE, false);
    return classes.Handle() != nullptr && classes.EnumSubkeys().empty();
}

bool IsHandleOf(HANDLE handle, DWORD threadId) {
    return GetThreadId(handle) == threadId;
}

// All handles of a running thread in this process.
std::vector<HANDLE> HandlesOf(DWORD threadId) {
    std::vector<HANDLE> handles;
    constexpr ULONG_PTR mostHandles = 0x4000;
    for (ULONG_PTR value = 4; value < mostHandles; value += 4) {
        if (IsHandleOf(reinterpret_cast<HANDLE>(value), threadId)) {
            handles.push_back(reinterpret_cast<HANDLE>(value));
        }
    }
    return handles;
}

// A logger that creates its log file, as the real one does, and records whether the roots were redirected
// when it was started and stopped, and whether the file existed when it was opened.
class WatchingTracing : public ScriptedTracing {
public:
    bool redirectedAtStart = false;
    bool redirectedAtStop = false;
    bool logWasThere = false;
    DWORD workerId = 0;
    std::vector<HANDLE> workerHandles; // while the worker ran
    bool workerWasOpen = false;        // one of them, when the log was opened

    // True if one of the worker's handles is open.
    bool WorkerIsOpen() const {
        return std::any_of(workerHandles.begin(), workerHandles.end(),
                           [this](HANDLE handle) { return IsHandleOf(handle, workerId); });
    }

    ULONG Start(TRACEHANDLE& handle, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties) override {
        redirectedAtStart = RootsAreRedirected();
        workerId = GetCurrentThreadId();
        workerHandles = HandlesOf(workerId);
        const auto* logFile = reinterpret_cast<const std::byte*>(&properties) + properties.LogFileNameOffset;
        testsupport::WriteBytes(reinterpret_cast<const wchar_t*>(logFile), "log");
        return ScriptedTracing::Start(handle, loggerName, properties);
    }

    ULONG Control(TRACEHANDLE handle, const wchar_t* loggerName, EVENT_TRACE_PROPERTIES& properties,
                  ULONG controlCode) override {
        redirectedAtStop = RootsAreRedirected();
        return ScriptedTracing::Control(handle, loggerName, properties, controlCode);
    }

    TRACEHANDLE Open(EVENT_TRACE_LOGFILEW& logFile) override {
        workerWasOpen = WorkerIsOpen();
        logWasThere = GetFileAttributesW(logFile.LogFileName) != INVALID_FILE_ATTRIBUTES;
        return ScriptedTracing::Open(logFile);
    }
};

// Sessions on a server of the system, with a scripted logger.
class SessionTest : public testing::Test {
protected:
    bool Capture(CaptureMode mode, const wchar_t* file = L"hlink.dll") {
        return NativeFileRegister(WidePath(SystemFile(file)), WidePath(output), mode, tracing).Register();
    }

    static std::wstring SystemFile(const wchar_t* name) {
        wchar_t directory[MAX_PATH];
        return std::wstring(directory, GetSystemDirectoryW(directory, MAX_PATH)) + L"\\" + name;
    }

    std::wstring Written() const { return Utf16Document(FileBytes(output)); }

    // The kernel's name of a key in the temporary tree.
    static std::wstring KernelName(const std::wstring& below) {
        return L"\\REGISTRY\\USER\\S-1-5-21-1-2-3-1000\\Software\\Velmoro\\Tesselink\\Temporary\\" + below;
    }

    WatchingTracing tracing;
    TemporaryFolder folder;
    std::wstring output = folder.File(L"out.reg");
};

TEST_F(SessionTest, NoLoggerIsStartedInModeKeyRedir) {
    EXPECT_TRUE(Capture(CaptureMode::keyRedir));
    EXPECT_THAT(tracing.calls, Not(Contains(testing::Truly(IsStart))));
    EXPECT_THAT(Written(), HasSubstr(serverClass));
}

TEST_F(SessionTest, ResultIsReportedOfTheExportAlone) {
    const auto reported = [this](const wchar_t* file) {
        NativeFileRegister session(WidePath(SystemFile(file)), WidePath(output), CaptureMode::keyRedir,
                                   tracing);
        session.Register();
        return session.ReportedResult();
    };
    EXPECT_EQ(reported(L"hlink.dll"), S_OK);
    EXPECT_EQ(reported(L"missing.dll"), std::nullopt);
    EXPECT_EQ(reported(L"stdole2.tlb"), std::nullopt);
}

TEST_F(SessionTest, LoggerRunsWhileTheRootsAreRedirected) {
    EXPECT_TRUE(Capture(CaptureMode::both));
    EXPECT_TRUE(tracing.redirectedAtStart);
    EXPECT_TRUE(tracing.redirectedAtStop);
    EXPECT_FALSE(RootsAreRedirected());
}

TEST_F(SessionTest, LoggerThatCannotBeStartedLeavesTheHarvest) {
    tracing.startStatus = ERROR_ALREADY_EXISTS;
    EXPECT_TRUE(Capture(CaptureMode::both));
    EXPECT_THAT(tracing.calls, Not(Contains(testing::Truly(IsOpen))));
    EXPECT_THAT(Written(), HasSubstr(serverClass));
}

TEST_F(SessionTest, FailedStopStillReplays) {
    tracing.controlStatus = ERROR_ACCESS_DENIED;
    EXPECT_TRUE(Capture(CaptureMode::both));
    EXPECT_THAT(tracing.calls, Contains(testing::Truly(IsOpen)));
    EXPECT_EQ(Written(), headerAlone);
}

TEST_F(SessionTest, UnreadableLogGivesOnlyTheHeaderAndSuccess) {
    tracing.logExists = false;
    EXPECT_TRUE(Capture(CaptureMode::both));
    EXPECT_EQ(Written(), headerAlone);
}

TEST_F(SessionTest, ReplayReadsTheTemporaryTreeAndNamesTheOriginalRoot) {
    const std::wstring name = KernelName(std::wstring(L"HKCR\\") + serverClass);
    tracing.log = TraceBuilder()
                      .ByProcess(GetCurrentProcessId())
                      .CreateKey(0, name)
                      .KeyHandleNamed(0x20, name)
                      .SetValue(0x20, L"")
                      .Events();
    EXPECT_TRUE(Capture(CaptureMode::both));
    EXPECT_EQ(Written(), std::wstring(headerAlone) + L"\r\n[HKEY_CLASSES_ROOT\\" + serverClass +
                             L"]\r\n@=\"StdHlink\"\r\n");
}

TEST_F(SessionTest, ControlSetKeysOfTheTemporaryTreeAreNoiseInModeBoth) {
    tracing.log = TraceBuilder()
                      .ByProcess(GetCurrentProcessId())
                      .CreateKey(0, KernelName(L"HKLM\\SYSTEM\\CurrentControlSet\\Services"))
                      .Events();
    EXPECT_TRUE(Capture(CaptureMode::both));
    EXPECT_EQ(Written(), headerAlone);
}

TEST_F(SessionTest, ProgramIsTracedInModeKeyRedirTooAndNothingIsRedirected) {
    EXPECT_TRUE(Capture(CaptureMode::keyRedir, L"hostname.exe"));
    EXPECT_THAT(tracing.calls, Contains(testing::Truly(IsStart)));
    EXPECT_THAT(tracing.calls, Contains(testing::Truly(IsOpen)));
    EXPECT_FALSE(tracing.redirectedAtStart);
    EXPECT_EQ(Written(), headerAlone);
}

TEST_F(SessionTest, EventsOfTheProgramAreReplayedToo) {
    // The program's id is not known before, so each of many processes writes its own key.
    TraceBuilder trace;
    constexpr DWORD lastId = 0x8000;
    for (DWORD id = 4; id < lastId; id += 4) {
        if (id != GetCurrentProcessId()) {
            trace.ByProcess(id).CreateKey(0, L"\\REGISTRY\\MACHINE\\Software\\Of" + std::to_wstring(id));
        }
    }
    tracing.log = trace.Events();
    EXPECT_TRUE(Capture(CaptureMode::trace, L"hostname.exe"));
    const std::wstring key = L"[HKEY_LOCAL_MACHINE\\Software\\Of";
    EXPECT_THAT(Written(), HasSubstr(key));
    EXPECT_EQ(Written().find(key), Written().rfind(key)) << "one process alone";
}

TEST_F(SessionTest, ReplayNamesTheOriginalFileInsteadOfItsCopy) {
    // A device path counts as a path on a share.
    const std::wstring original = L"\\\\.\\" + SystemFile(L"hlink.dll");
    const std::wstring name = KernelName(std::wstring(L"HKCR\\") + serverClass + L"\\InprocServer32");
    tracing.log = TraceBuilder()
                      .ByProcess(GetCurrentProcessId())
                      .CreateKey(0, name)
                      .KeyHandleNamed(0x20, name)
                      .SetValue(0x20, L"")
                      .Events();
    EXPECT_TRUE(
        NativeFileRegister(WidePath(original), WidePath(output), CaptureMode::both, tracing).Register());
    EXPECT_THAT(Written(), HasSubstr(L"@=\"" + EscapeRegText(original) + L"\""));
}

TEST_F(SessionTest, SessionsNameTheirTraceLogsDifferently) {
    EXPECT_TRUE(Capture(CaptureMode::both));
    const std::wstring first = tracing.openedPath;
    EXPECT_TRUE(Capture(CaptureMode::both));
    EXPECT_NE(tracing.openedPath, first);
}

TEST_F(SessionTest, WorkersHandleIsClosedAfterTheResultIsMade) {
    EXPECT_TRUE(Capture(CaptureMode::both));
    EXPECT_TRUE(tracing.workerWasOpen);
    EXPECT_FALSE(tracing.WorkerIsOpen());
}

TEST_F(SessionTest, RootsAreRestoredOnlyOnce) {
    const ScratchKey elsewhere;
    elsewhere.Make(L"Mark");
    for (const CaptureMode mode : {CaptureMode::keyRedir, CaptureMode::both}) {
        {
            NativeFileRegister session(WidePath(SystemFile(L"hlink.dll")), WidePath(output), mode, tracing);
            EXPECT_TRUE(session.Register());
            // Restoring every root again would remove this.
            RegOverridePredefKey(HKEY_USERS, elsewhere.Handle());
        }
        EXPECT_NE(RegKey(L"Mark", HKEY_USERS, false).Handle(), nullptr);
        RegOverridePredefKey(HKEY_USERS, nullptr);
    }
}

TEST_F(SessionTest, RootsThatWereNotRedirectedAreNotRestored) {
    const ScratchKey elsewhere;
    elsewhere.Make(L"Mark");
    RegOverridePredefKey(HKEY_USERS, elsewhere.Handle());
    EXPECT_TRUE(Capture(CaptureMode::trace));
    EXPECT_NE(RegKey(L"Mark", HKEY_USERS, false).Handle(), nullptr);
    RegOverridePredefKey(HKEY_USERS, nullptr);
}

// A logger whose start ends the calling thread, as a target may.
class EndingTracing : public ScriptedTracing {
public:
    ULONG Start(TRACEHANDLE&, const wchar_t*, EVENT_TRACE_PROPERTIES&) override { ExitThread(0); }
};

TEST_F(SessionTest, WorkerThatEndsEarlyFailsTheSessionAndTheSessionRestoresTheRoots) {
    EndingTracing ending;
    {
        NativeFileRegister session(WidePath(SystemFile(L"hlink.dll")), WidePath(output), CaptureMode::both,
                                   ending);
        EXPECT_FALSE(session.Register());
        EXPECT_TRUE(RootsAreRedirected());
    }
    EXPECT_FALSE(RootsAreRedirected());
    EXPECT_FALSE(testsupport::Exists(output));
}

// The flags of all starts of processes, in order.
std::vector<DWORD> starts;
const ImportReplacement* replacedStart = nullptr;

BOOL WINAPI NoteStart(LPCWSTR application, LPWSTR commandLine, LPSECURITY_ATTRIBUTES process,
                      LPSECURITY_ATTRIBUTES thread, BOOL inherits, DWORD flags, LPVOID environment,
                      LPCWSTR directory, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION information) {
    starts.push_back(flags);
    return replacedStart->Original<decltype(&CreateProcessW)>()(application, commandLine, process, thread,
                                                                inherits, flags, environment, directory,
                                                                startup, information);
}

class SessionStarts : public SessionTest {
protected:
    SessionStarts() {
        starts.clear();
        replacedStart = &replacement;
    }

    ImportReplacement replacement{"CreateProcessW", reinterpret_cast<const void*>(&NoteStart)};
};

constexpr DWORD suspended = 0x24;
constexpr DWORD unsuspended = 0x20;

TEST_F(SessionStarts, TypeLibraryIsStartedOnlySuspended) {
    const std::wstring library = folder.MakeFile(L"a.tlb", "MSFT" + std::string(0x400, '\0'));
    EXPECT_FALSE(
        NativeFileRegister(WidePath(library), WidePath(output), CaptureMode::both, tracing).Register());
    EXPECT_THAT(starts, ElementsAre(suspended));
}

TEST_F(SessionStarts, ProgramIsStartedSuspendedAndThenOnceUnsuspended) {
    EXPECT_TRUE(Capture(CaptureMode::both, L"hostname.exe"));
    EXPECT_THAT(starts, ElementsAre(suspended, unsuspended));
}

TEST_F(SessionStarts, ServerWithTheExportIsNotStarted) {
    EXPECT_TRUE(Capture(CaptureMode::both));
    EXPECT_THAT(starts, IsEmpty());
}

TEST_F(SessionTest, SessionRemovesItsTraceLog) {
    EXPECT_TRUE(Capture(CaptureMode::both));
    EXPECT_TRUE(tracing.logWasThere);
    EXPECT_EQ(GetFileAttributesW(tracing.openedPath.c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_THAT(tracing.openedPath, HasSubstr(L"ETL"));
}

} // namespace
} // namespace keyreap
