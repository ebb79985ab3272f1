#include "tests/endtoend/harness/process.h"

#include <gtest/gtest.h>

namespace keyreap::endtoend {

namespace {

constexpr DWORD watchdogMilliseconds = 120'000;
constexpr DWORD statusOfKilled = 0xDEAD;

// The new process; null if it could not be started, with the reason in GetLastError.
HANDLE Start(std::wstring commandLine, const std::wstring& directory) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION information = {};
    const wchar_t* startDirectory = directory.empty() ? nullptr : directory.c_str();
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, NORMAL_PRIORITY_CLASS, nullptr,
                        startDirectory, &startup, &information)) {
        return nullptr;
    }
    CloseHandle(information.hThread);
    return information.hProcess;
}

// On a busy machine about one start of a 32-bit program in some thousand fails under Wine: the new process
// ends before any code of the program ran, and the caller gets ERROR_INTERNAL_ERROR.
HANDLE StartWithRetries(const std::wstring& commandLine, const std::wstring& directory) {
    constexpr int attempts = 3;
    HANDLE process = nullptr;
    for (int attempt = 0; attempt < attempts && process == nullptr; ++attempt) {
        process = Start(commandLine, directory);
        if (process == nullptr && GetLastError() != ERROR_INTERNAL_ERROR) {
            break;
        }
    }
    return process;
}

} // namespace

RunningProgram::RunningProgram(const std::wstring& commandLine, const std::wstring& directory)
    : process(StartWithRetries(commandLine, directory)) {
    if (process == nullptr) {
        ADD_FAILURE() << "The program could not be started: error " << GetLastError();
    }
}

RunningProgram::~RunningProgram() {
    CloseHandle(process);
}

bool RunningProgram::IsRunning() const {
    return WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
}

DWORD RunningProgram::Wait() {
    const std::optional<DWORD> status = WaitFor(watchdogMilliseconds);
    EXPECT_TRUE(status) << "The program did not end in time.";
    return status.value_or(statusOfKilled);
}

std::optional<DWORD> RunningProgram::WaitFor(DWORD milliseconds) {
    if (IsStarted() && WaitForSingleObject(process, milliseconds) != WAIT_OBJECT_0) {
        Kill();
        return std::nullopt;
    }
    DWORD status = 0;
    EXPECT_TRUE(GetExitCodeProcess(process, &status));
    return status;
}

void RunningProgram::Kill() {
    TerminateProcess(process, statusOfKilled);
    WaitForSingleObject(process, watchdogMilliseconds);
}

SharedEvent::SharedEvent(const wchar_t* name) : event(CreateEventW(nullptr, TRUE, FALSE, name)) {}

SharedEvent::~SharedEvent() {
    CloseHandle(event);
}

void SharedEvent::Set() {
    SetEvent(event);
}

void SharedEvent::Wait() const {
    EXPECT_EQ(WaitForSingleObject(event, watchdogMilliseconds), WAIT_OBJECT_0);
}

bool Eventually(const std::function<bool()>& condition) {
    const ULONGLONG begin = GetTickCount64();
    bool isMet = condition();
    while (!isMet && GetTickCount64() - begin < watchdogMilliseconds) {
        Sleep(1);
        isMet = condition();
    }
    return isMet;
}

DWORD RunLine(const std::wstring& commandLine, const std::wstring& directory) {
    return RunningProgram(commandLine, directory).Wait();
}

std::wstring Quoted(const std::wstring& text) {
    return L"\"" + text + L"\"";
}

} // namespace keyreap::endtoend
