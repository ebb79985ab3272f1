// Appends a line to the file that the variable KEYREAP_GAUGE names: the process's number of handles, its
// memory in kilobytes, and the number of files in the temporary directory. It doesn't use the C++ library,
// which keeps some memory each time that such a module is loaded.
#include "tests/support/openhandles.h"

#include <windows.h>

#include <olectl.h>
#include <psapi.h>

namespace {

int KilobytesOfMemory() {
    constexpr SIZE_T kilobyte = 1024;
    PROCESS_MEMORY_COUNTERS counters = {};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return static_cast<int>(counters.PagefileUsage / kilobyte);
}

int TemporaryFiles() {
    wchar_t pattern[MAX_PATH] = {};
    GetEnvironmentVariableW(L"TMP", pattern, MAX_PATH);
    lstrcatW(pattern, L"\\*");
    WIN32_FIND_DATAW entry = {};
    const HANDLE search = FindFirstFileW(pattern, &entry);
    int files = 0;
    do {
        files += (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 ? 1 : 0;
    } while (FindNextFileW(search, &entry));
    FindClose(search);
    return files;
}

void AppendLine(const char* line, int length) {
    wchar_t name[MAX_PATH] = {};
    GetEnvironmentVariableW(L"KEYREAP_GAUGE", name, MAX_PATH);
    const HANDLE file =
        CreateFileW(name, FILE_APPEND_DATA, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    WriteFile(file, line, static_cast<DWORD>(length), &written, nullptr);
    CloseHandle(file);
}

void WriteEntry() {
    constexpr wchar_t text[] = L"plain";
    RegSetKeyValueW(HKEY_CLASSES_ROOT, L"Keyreap.Plain", L"", REG_SZ, text, sizeof(text));
}

} // namespace

STDAPI DllRegisterServer() {
    char line[64] = {};
    const int handles = keyreap::testsupport::CountOpenHandles();
    AppendLine(line, wsprintfA(line, "%d %d %d\n", handles, KilobytesOfMemory(), TemporaryFiles()));
    WriteEntry();
    return S_OK;
}
