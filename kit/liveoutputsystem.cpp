#include "kit/hostfiles.h"
#include "kit/liveoutput.h"
#include "kit/ownfolder.h"

#include <windows.h>

#include <array>
#include <memory>

namespace keyreap {

namespace {

struct HandleCloser {
    void operator()(HANDLE handle) const {
        if (handle != INVALID_HANDLE_VALUE) {
            CloseHandle(handle);
        }
    }
};

using OwnedHandle = std::unique_ptr<void, HandleCloser>;

struct Pipe {
    OwnedHandle reading;
    OwnedHandle writing; // inherited by programs
};

Pipe NewPipe() {
    HANDLE reading = nullptr;
    HANDLE writing = nullptr;
    if (CreatePipe(&reading, &writing, nullptr, 0) == FALSE) {
        return {};
    }
    SetHandleInformation(writing, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    return {OwnedHandle(reading), OwnedHandle(writing)};
}

OwnedHandle EmptyInput() {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    constexpr DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE;
    return OwnedHandle(CreateFileW(L"NUL", GENERIC_READ, sharing, &inherited, OPEN_EXISTING, 0, nullptr));
}

std::wstring LiveProgram(int bitness) {
    return OwnFolder() + (bitness == 64 ? L"" : L"..\\x86\\") + L"KeyKitLive.exe";
}

// The process, with the pipe as its standard output; null if it can't be started.
OwnedHandle Start(const std::wstring& program, const std::wstring& file, const Pipe& pipe) {
    const OwnedHandle input = EmptyInput();
    STARTUPINFOW start{};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = input.get();
    start.hStdOutput = pipe.writing.get();
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    std::wstring words = L"\"" + program + L"\" \"" + file + L"\"";
    if (CreateProcessW(program.c_str(), words.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                       &process) == FALSE) {
        return {};
    }
    CloseHandle(process.hThread);
    return OwnedHandle(process.hProcess);
}

} // namespace

std::string LiveOutput(const LiveSession& session, const std::string& request) {
    Pipe pipe = NewPipe();
    const OwnedHandle process = Start(LiveProgram(session.bitness), WindowsPathOf(request), pipe);
    pipe.writing.reset();
    if (process == nullptr) {
        return {};
    }
    std::string text;
    std::array<char, 4096> block{};
    DWORD count = 0;
    while (ReadFile(pipe.reading.get(), block.data(), static_cast<DWORD>(block.size()), &count, nullptr) !=
           FALSE) {
        text.append(block.data(), count);
    }
    WaitForSingleObject(process.get(), INFINITE);
    return text;
}

bool SessionsAreThrownAway() {
    return false;
}

} // namespace keyreap
