// The same with Windows' own functions, which Wine translates.
#include "tests/samples/box/means.h"

#include <windows.h>

#include <algorithm>

namespace keyreap::samples::box {

namespace {

std::wstring Wide(const char* text) {
    const int size = MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(std::max(size, 1)), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text, -1, wide.data(), size);
    wide.pop_back();
    return wide;
}

Word LastFailure() {
    return -static_cast<Word>(GetLastError());
}

Word Read(const Arguments& arguments, Text& got) {
    char begin[60] = {};
    DWORD size = 0;
    const HANDLE file = CreateFileW(Wide(arguments[0]).c_str(), GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    const bool isRead = ReadFile(file, begin, sizeof(begin), &size, nullptr) != FALSE && size > 0;
    const Word result = isRead ? 0 : LastFailure();
    CloseHandle(file);
    got.Append(std::string_view(begin, size));
    return result;
}

Word Write(const Arguments& arguments, Text&) {
    DWORD size = 0;
    const HANDLE file = CreateFileW(Wide(arguments[0]).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    CREATE_ALWAYS, 0, nullptr);
    const bool isWritten = WriteFile(file, mark.data(), mark.size(), &size, nullptr) != FALSE;
    const Word result = isWritten ? 0 : LastFailure();
    CloseHandle(file);
    return result;
}

// A number of megabytes into one file.
Word Fill(const Arguments& arguments, Text& got) {
    static char content[0x100000];
    DWORD size = 0;
    unsigned long long done = 0;
    const HANDLE file = CreateFileW(Wide(arguments[0]).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    CREATE_ALWAYS, 0, nullptr);
    while (done < arguments.NumberAt(1) &&
           WriteFile(file, content, sizeof(content), &size, nullptr) != FALSE && size == sizeof(content)) {
        ++done;
    }
    const Word result = done < arguments.NumberAt(1) ? LastFailure() - 1 : 0;
    CloseHandle(file);
    got.Append(done);
    got.Append(" MB");
    return result;
}

Word ReadVariable(const Arguments& arguments, Text& got) {
    char value[60] = {};
    const DWORD size = GetEnvironmentVariableA(arguments[0], value, sizeof(value));
    got.Append(std::string_view(value, std::min<std::size_t>(size, sizeof(value))));
    return size > 0 ? 0 : LastFailure();
}

// A program of the host, with its command line. Wine can't wait for one.
Word StartProgram(const Arguments& arguments, Text&) {
    constexpr DWORD timeToStart = 500;
    std::wstring line = Wide(arguments[1]);
    STARTUPINFOW start = {};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process = {};
    const BOOL isStarted = CreateProcessW(Wide(arguments[0]).c_str(), line.data(), nullptr, nullptr, FALSE, 0,
                                          nullptr, nullptr, &start, &process);
    const Word result = isStarted != FALSE ? 0 : LastFailure();
    Sleep(isStarted != FALSE ? timeToStart : 0);
    return result;
}

// No line after this one has a result.
Word EndProcess(const Arguments&, Text&) {
    TerminateProcess(GetCurrentProcess(), 0);
    return LastFailure();
}

constexpr Way ways[] = {{"winread", Read},   {"winwrite", Write},        {"winfill", Fill},
                        {"end", EndProcess}, {"variable", ReadVariable}, {"winstart", StartProgram}};

} // namespace

std::span<const Way> WindowsWays() {
    return ways;
}

} // namespace keyreap::samples::box
