#include "platform/os/process.h"
#include "tests/support/importreplacement.h"
#include "tests/support/openhandles.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

std::wstring CommandInterpreter() {
    wchar_t folder[MAX_PATH];
    return std::wstring(folder, GetSystemDirectoryW(folder, MAX_PATH)) + L"\\cmd.exe";
}

TEST(RunAndWait, GivesTheExitStatusOfTheProcess) {
    DWORD status = 0;
    EXPECT_TRUE(RunAndWait(CommandInterpreter(), L"cmd /c exit 7", &status));
    EXPECT_EQ(status, 7U);
}

TEST(RunAndWait, ExitStatusIsWholeAndSigned) {
    DWORD status = 0;
    EXPECT_TRUE(RunAndWait(CommandInterpreter(), L"cmd /c exit -1", &status));
    EXPECT_EQ(status, 0xFFFFFFFFU);
    EXPECT_TRUE(RunAndWait(CommandInterpreter(), L"cmd /c exit 256", &status));
    EXPECT_EQ(status, 256U);
}

TEST(RunAndWait, ApplicationMayBeInTheCommandLineOnly) {
    DWORD status = 0;
    EXPECT_TRUE(RunAndWait(L"", L"\"" + CommandInterpreter() + L"\" /c exit 3", &status));
    EXPECT_EQ(status, 3U);
}

TEST(RunAndWait, MissingProgramGivesTheSystemsCode) {
    DWORD status = 0;
    EXPECT_FALSE(RunAndWait(L"C:\\missing\\program.exe", L"program", &status));
    EXPECT_NE(status, 0U);
    EXPECT_FALSE(RunAndWait(L"C:\\missing\\program.exe", L"program", nullptr));
}

TEST(RunAndWait, WithoutAStatusItDoesNotWait) {
    // The child reads from a pipe that is served and closed only after the call has returned.
    constexpr wchar_t name[] = L"\\\\.\\pipe\\KeyreapRunAndWaitTest";
    const OwnedFile pipe(
        CreateNamedPipeW(name, PIPE_ACCESS_OUTBOUND, PIPE_TYPE_BYTE | PIPE_WAIT, 1, 64, 64, 0, nullptr));
    ASSERT_TRUE(pipe.Valid());
    EXPECT_TRUE(RunAndWait(CommandInterpreter(), std::wstring(L"cmd /c type ") + name, nullptr));
    EXPECT_TRUE(ConnectNamedPipe(pipe.Get(), nullptr) || GetLastError() == ERROR_PIPE_CONNECTED);
}

DWORD startFlags = 0;

BOOL WINAPI NoteFlags(LPCWSTR, LPWSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD flags,
                      LPVOID, LPCWSTR, LPSTARTUPINFOW, LPPROCESS_INFORMATION) {
    startFlags = flags;
    SetLastError(ERROR_FILE_NOT_FOUND);
    return FALSE;
}

// Among the flags that are not set is CREATE_DEFAULT_ERROR_MODE: the child inherits the error mode.
TEST(RunAndWait, StartsAProcessOfNormalPriorityAndSetsNoOtherFlag) {
    const testsupport::ImportReplacement replacement("CreateProcessW",
                                                     reinterpret_cast<const void*>(&NoteFlags));
    EXPECT_FALSE(RunAndWait(CommandInterpreter(), {}, nullptr));
    EXPECT_EQ(startFlags, 0x20U);
}

TEST(StartProcess, GivesTheIdOfTheProcess) {
    const std::optional<StartedProcess> started =
        StartProcess(CommandInterpreter(), L"cmd /c exit 0", NORMAL_PRIORITY_CLASS);
    ASSERT_TRUE(started);
    EXPECT_EQ(started->id, GetProcessId(started->process.Get()));
    WaitForSingleObject(started->process.Get(), INFINITE);
}

TEST(StartProcess, NoNameAndNoCommandLineStartNothing) {
    EXPECT_FALSE(StartProcess({}, {}, NORMAL_PRIORITY_CLASS));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(StartProcess, LeavesNoHandleOpen) {
    const int before = testsupport::CountOpenHandles();
    for (int i = 0; i < 3; ++i) {
        DWORD status = 0;
        RunAndWait(CommandInterpreter(), L"cmd /c exit 0", &status);
    }
    EXPECT_EQ(testsupport::CountOpenHandles(), before);
}

} // namespace
} // namespace keyreap
