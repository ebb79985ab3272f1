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

constexpr DWORD statusFailed = 0xFFFFFFFF;

inline constexpr wchar_t productKey[] = L"Software\\Velmoro\\Tesselink";
inline constexpr wchar_t temporaryKey[] = L"Software\\Velmoro\\Tesselink\\Temporary";

std::string NameOfBuild(const testing::TestParamInfo<Bitness>& test);

// A way that an input can take: the build of its own bitness, or the 64-bit one with its companion.
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

// A pair of the command line, in quotes.
std::wstring Pair(const std::wstring& file, const std::wstring& regFile);

// Each test has a folder of its own to work in and, for itself and the programs that it starts, a temporary
// directory of its own. It begins as on a machine where the program never ran.
class Workbench : public testing::Test {
protected:
    Workbench();
    ~Workbench() override;

    // A path in the test's own folder.
    std::wstring Work(const std::wstring& name) const { return workFolder + L"\\" + name; }
    // What lies in the temporary directory.
    std::vector<std::wstring> TemporaryFiles() const { return ListTree(temporaryFolder); }
    const std::wstring& TemporaryFolder() const { return temporaryFolder; }
    // Whether all that lies there is the trace log of an ended run; its name has a number that means nothing.
    bool LeftATraceLog() const;

    // Runs a build of the program with these arguments behind its own name.
    DWORD RunKeyreap(Bitness bitness, const std::wstring& arguments) const;
    // The whole of one capture by redirection, and its command line.
    DWORD Capture(Bitness bitness, const std::wstring& file, const std::wstring& regFile) const;
    static std::wstring CaptureLine(Bitness bitness, const std::wstring& file, const std::wstring& regFile);

private:
    std::wstring workFolder;
    std::wstring temporaryFolder;
    std::wstring formerTmp;
    std::wstring formerTemp;
};

} // namespace keyreap::endtoend
