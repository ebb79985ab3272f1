#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>

namespace keyreap::endtoend {

// A program that runs. One that is not done in time is ended, so that no test hangs.
class RunningProgram {
public:
    // Starts the first word of the line with this exact command line.
    explicit RunningProgram(const std::wstring& commandLine, const std::wstring& directory = {});
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;
    ~RunningProgram();

    bool IsStarted() const { return process != nullptr; }
    bool IsRunning() const;
    // The whole 32-bit exit status. A program that could not be started or did not end in time is a failure
    // of the test.
    DWORD Wait();
    // The same where staying is no failure: none for a program that did not end within that time. It is
    // ended.
    std::optional<DWORD> WaitFor(DWORD milliseconds);
    // Ends the program as a crash would: nothing of its own runs any more.
    void Kill();

private:
    HANDLE process = nullptr;
};

// An event that a test shares with a sample by its name; not set at first.
class SharedEvent {
public:
    explicit SharedEvent(const wchar_t* name);
    SharedEvent(const SharedEvent&) = delete;
    SharedEvent& operator=(const SharedEvent&) = delete;
    ~SharedEvent();

    void Set();
    // An event that is not set in time is a failure of the test.
    void Wait() const;

private:
    HANDLE event;
};

// Waits for what must come to be; false if it does not in the time that a program has to end.
bool Eventually(const std::function<bool()>& condition);

DWORD RunLine(const std::wstring& commandLine, const std::wstring& directory = {});

std::wstring Quoted(const std::wstring& text);

} // namespace keyreap::endtoend
