#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>

namespace keyreap::endtoend {

// A running program. Waiting ends one that takes too long, so that no test blocks the suite.
class RunningProgram {
public:
    // The first word of the command line is the program; the line is passed to it unchanged.
    explicit RunningProgram(const std::wstring& commandLine, const std::wstring& directory = {});
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;
    ~RunningProgram();

    bool IsStarted() const { return process != nullptr; }
    bool IsRunning() const;
    // The whole 32-bit exit status. The test fails if the program could not be started or did not end in
    // time.
    DWORD Wait();
    // The exit status; nothing if the program did not end within this time, which is no failure. The program
    // is killed then.
    std::optional<DWORD> WaitFor(DWORD milliseconds);
    // Ends the program as a crash would: without running any more of its code.
    void Kill();

private:
    HANDLE process = nullptr;
};

// The error mode that programs inherit on Windows, as long as it exists. Without it they inherit
// GoogleTest's.
class InheritedErrorMode {
public:
    explicit InheritedErrorMode(UINT mode) : before(SetErrorMode(mode)) {}
    InheritedErrorMode(const InheritedErrorMode&) = delete;
    InheritedErrorMode& operator=(const InheritedErrorMode&) = delete;
    ~InheritedErrorMode() { SetErrorMode(before); }

private:
    UINT before;
};

// An event that a test shares with a sample by its name. It is not set at first.
class SharedEvent {
public:
    explicit SharedEvent(const wchar_t* name);
    SharedEvent(const SharedEvent&) = delete;
    SharedEvent& operator=(const SharedEvent&) = delete;
    ~SharedEvent();

    void Set();
    // The test fails if the event is not set in time.
    void Wait() const;

private:
    HANDLE event;
};

// Waits until the condition is met; false if that takes longer than a program may run.
bool Eventually(const std::function<bool()>& condition);

DWORD RunLine(const std::wstring& commandLine, const std::wstring& directory = {});

std::wstring Quoted(const std::wstring& text);

} // namespace keyreap::endtoend
