#pragma once

#include <windows.h>

#include <filesystem>
#include <optional>
#include <string>

namespace keyreap {

// How a program ended that was started with RunChild.
struct ChildEnd {
    DWORD error = 0;             // why it could not be started
    DWORD processId = 0;         // 0 if it was not started
    std::optional<DWORD> status; // none if it was ended because it took too long
};

// Runs a program to its end, with what it prints in a file. When the time is over, it is ended with all
// programs that it started. The first word of the command line is the program.
ChildEnd RunChild(std::wstring commandLine, const std::filesystem::path& output, DWORD milliseconds);

// As the reports have it: "status 0", "status 0xc0000005", "error 740" or "did not end".
std::string EndText(const ChildEnd& end);

std::wstring Quoted(const std::filesystem::path& path);

} // namespace keyreap
