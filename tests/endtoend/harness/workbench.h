#pragma once

#include "tests/endtoend/harness/files.h"
#include "tests/endtoend/harness/golden.h"
#include "tests/endtoend/harness/process.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace keyreap::endtoend {

enum class Bitness { x64, x86 };

inline constexpr Bitness bothBuilds[] = {Bitness::x64, Bitness::x86};

// Files of a folder, or changes of the registry, one a line.
using Lines = std::vector<std::wstring>;

inline const Lines nothing = {};

constexpr DWORD statusFailed = 0xFFFFFFFF;

inline constexpr wchar_t productKey[] = L"Software\\Velmoro\\Tesselink";
inline constexpr wchar_t temporaryKey[] = L"Software\\Velmoro\\Tesselink\\Temporary";

std::string NameOfBuild(const testing::TestParamInfo<Bitness>& test);

// How an input is captured: by the build of its own bitness, or by the 64-bit build through its companion.
struct Route {
    const char* name;
    Bitness program;
    Bitness target;
};

inline constexpr Route routes[] = {
    {"x64", Bitness::x64, Bitness::x64},
    {"x86ThroughTheCompanion", Bitness::x64, Bitness::x86},
    {"x86Directly", Bitness::x86, Bitness::x86},
};

void PrintTo(Bitness bitness, std::ostream* stream);
void PrintTo(const Route& route, std::ostream* stream);
std::string NameOfRoute(const testing::TestParamInfo<Route>& test);

std::wstring FolderOf(Bitness bitness);
std::wstring Keyreap(Bitness bitness);
std::wstring Sample(Bitness bitness, const std::wstring& name);

// A pair of the command line, each path in quotes.
std::wstring Pair(const std::wstring& file, const std::wstring& regFile);

// Each test has its own work folder, and its own temporary directory for itself and the programs that it
// starts. It begins as on a machine where the program never ran.
class Workbench : public testing::Test {
protected:
    Workbench();
    ~Workbench() override;

    // A path in the work folder.
    std::wstring Work(const std::wstring& name) const { return workFolder + L"\\" + name; }
    // The names of the .reg files in the work folder, sorted.
    Lines RegFiles() const;
    // Everything in the temporary directory.
    Lines TemporaryFiles() const { return ListTree(temporaryFolder); }
    const std::wstring& TemporaryFolder() const { return temporaryFolder; }
    // Whether the temporary directory contains only the trace log of an ended run. The number in the log's
    // name has no meaning.
    bool LeftATraceLog() const;

    // Makes the machine one where the program never ran: removes its keys.
    static void ForgetEarlierRuns();

    // Runs a build of the program with these arguments.
    DWORD RunKeyreap(Bitness bitness, const std::wstring& arguments) const;
    // Runs one capture by redirection.
    DWORD Capture(Bitness bitness, const std::wstring& file, const std::wstring& regFile) const;
    // The command line of such a capture.
    static std::wstring CaptureLine(Bitness bitness, const std::wstring& file, const std::wstring& regFile);

private:
    std::wstring workFolder;
    std::wstring temporaryFolder;
    std::wstring savedTmp;
    std::wstring savedTemp;
};

} // namespace keyreap::endtoend
