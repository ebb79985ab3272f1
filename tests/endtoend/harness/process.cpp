#include "tests/endtoend/harness/process.h"

#include <gtest/gtest.h>

namespace keyreap::endtoend {

namespace {

constexpr DWORD watchdogMilliseconds = 120'000;

} // namespace

RunningProgram::RunningProgram(std::wstring commandLine, const std::wstring& directory) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION information = {};
    const wchar_t* startDirectory = directory.empty() ? nullptr : directory.c_str();
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, NORMAL_PRIORITY_CLASS, nullptr,
                       startDirectory, &startup, &information)) {
        CloseHandle(information.hThread);
        process = information.hProcess;
    } else {
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
    if (IsStarted() && WaitForSingleObject(process, watchdogMilliseconds) != WAIT_OBJECT_0) {
        ADD_FAILURE() << "The program did not end in time.";
        Kill();
    }
    DWORD status = 0;
    EXPECT_TRUE(GetExitCodeProcess(process, &status));
    return status;
}

void RunningProgram::Kill() {
    constexpr UINT statusOfKilled = 0xDEAD;
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

DWORD RunLine(const std::wstring& commandLine, const std::wstring& directory) {
    return RunningProgram(commandLine, directory).Wait();
}

std::wstring Quoted(const std::wstring& text) {
    return L"\"" + text + L"\"";
}

} // namespace keyreap::endtoend
