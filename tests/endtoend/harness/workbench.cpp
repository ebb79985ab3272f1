#include "tests/endtoend/harness/workbench.h"

#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/settings.h"
#include "tests/endtoend/harness/stricthost.h"

namespace keyreap::endtoend {

namespace {

std::wstring Variable(const wchar_t* name) {
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

std::wstring WithoutTrailingBackslash(std::wstring path) {
    while (path.ends_with(L'\\')) {
        path.pop_back();
    }
    return path;
}

std::wstring SystemTemporaryFolder() {
    wchar_t path[MAX_PATH + 1] = {};
    return WithoutTrailingBackslash(std::wstring(path, GetTempPathW(MAX_PATH + 1, path)));
}

} // namespace

std::string NameOfBuild(const testing::TestParamInfo<Bitness>& test) {
    return test.param == Bitness::x64 ? "x64" : "x86";
}

std::string NameOfRoute(const testing::TestParamInfo<Route>& test) {
    return test.param.name;
}

void PrintTo(Bitness bitness, std::ostream* stream) {
    *stream << (bitness == Bitness::x64 ? "x64" : "x86");
}

void PrintTo(const Route& route, std::ostream* stream) {
    *stream << route.name;
}

std::wstring FolderOf(Bitness bitness) {
    return bitness == Bitness::x64 ? L"x64" : L"x86";
}

std::wstring Keyreap(Bitness bitness) {
    return TestSettings().stage + L"\\" + FolderOf(bitness) + L"\\Keyreap.exe";
}

std::wstring Sample(Bitness bitness, const std::wstring& name) {
    return TestSettings().samples + L"\\" + FolderOf(bitness) + L"\\" + name;
}

std::wstring Pair(const std::wstring& file, const std::wstring& regFile) {
    return Quoted(file) + L" " + Quoted(regFile);
}

Workbench::Workbench() : savedTmp(Variable(L"TMP")), savedTemp(Variable(L"TEMP")) {
    workFolder = SystemTemporaryFolder() + L"\\keyreap" + std::to_wstring(GetCurrentProcessId());
    temporaryFolder = workFolder + L"\\temp";
    RemoveDirectoryWithContents(workFolder);
    MakeDirectory(temporaryFolder);
    SetEnvironmentVariableW(L"TMP", temporaryFolder.c_str());
    SetEnvironmentVariableW(L"TEMP", temporaryFolder.c_str());
    ForgetEarlierRuns();
    StopLeftLogger();
}

Workbench::~Workbench() {
    SetEnvironmentVariableW(L"TMP", savedTmp.c_str());
    SetEnvironmentVariableW(L"TEMP", savedTemp.c_str());
    ForgetEarlierRuns();
    RemoveDirectoryWithContents(workFolder);
}

void Workbench::ForgetEarlierRuns() {
    DeleteTree(HKEY_CURRENT_USER, L"Software\\Velmoro");
}

Lines Workbench::RegFiles() const {
    Lines files = ListTree(workFolder);
    std::erase_if(files, [](const std::wstring& file) { return !file.ends_with(L".reg"); });
    return files;
}

bool Workbench::LeftATraceLog() const {
    const Lines files = TemporaryFiles();
    return files.size() == 1 && NameOf(files.front()).starts_with(L"ETL");
}

std::wstring Workbench::CaptureLine(Bitness bitness, const std::wstring& file, const std::wstring& regFile) {
    return Quoted(Keyreap(bitness)) + L" extreg " + Pair(file, regFile) + L" keyRedir";
}

DWORD Workbench::RunKeyreap(Bitness bitness, const std::wstring& arguments) const {
    return RunLine(Quoted(Keyreap(bitness)) + L" " + arguments);
}

DWORD Workbench::Capture(Bitness bitness, const std::wstring& file, const std::wstring& regFile) const {
    return RunLine(CaptureLine(bitness, file, regFile));
}

} // namespace keyreap::endtoend
