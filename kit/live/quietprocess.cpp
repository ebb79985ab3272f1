#include "kit/live/quietprocess.h"

namespace keyreap {

OwnedFile DiscardingFile() {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    constexpr DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE;
    return OwnedFile(
        CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, sharing, &inherited, OPEN_EXISTING, 0, nullptr));
}

QuietRun RunQuietly(const std::wstring& program, const std::wstring& line, HANDLE output) {
    const OwnedFile nothing = DiscardingFile();
    STARTUPINFOW start{};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = nothing.Get();
    start.hStdOutput = output;
    start.hStdError = nothing.Get();
    PROCESS_INFORMATION process{};
    std::wstring words = line;
    if (CreateProcessW(program.empty() ? nullptr : program.c_str(), words.data(), nullptr, nullptr, TRUE, 0,
                       nullptr, nullptr, &start, &process) == FALSE) {
        return {.status = GetLastError()};
    }
    const OwnedHandle thread(process.hThread);
    const OwnedHandle running(process.hProcess);
    WaitForSingleObject(running.Get(), INFINITE);
    DWORD status = 0;
    GetExitCodeProcess(running.Get(), &status);
    return {.isStarted = true, .status = status};
}

} // namespace keyreap
