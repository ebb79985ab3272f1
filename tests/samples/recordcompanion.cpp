// Replaces a companion program: writes its exact command line and its current directory to files in its own
// folder, and ends with the status in the file status.txt of that folder. Without that file it ends with 7.
#include <windows.h>

#include <cstdlib>
#include <string>

namespace {

std::wstring OwnFolder() {
    constexpr DWORD longestPath = 1024;
    wchar_t path[longestPath] = {};
    std::wstring text(path, GetModuleFileNameW(nullptr, path, longestPath));
    return text.substr(0, text.rfind(L'\\') + 1);
}

void WriteUnits(const std::wstring& file, const std::wstring& text) {
    HANDLE handle =
        CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    WriteFile(handle, text.data(), static_cast<DWORD>(text.size() * sizeof(wchar_t)), &written, nullptr);
    CloseHandle(handle);
}

std::wstring CurrentDirectory() {
    std::wstring text(GetCurrentDirectoryW(0, nullptr), L'\0');
    text.resize(GetCurrentDirectoryW(static_cast<DWORD>(text.size()), text.data()));
    return text;
}

int StatusIn(const std::wstring& file) {
    constexpr int statusWithoutFile = 7;
    HANDLE handle = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return statusWithoutFile;
    }
    char text[32] = {};
    DWORD count = 0;
    ReadFile(handle, text, sizeof(text) - 1, &count, nullptr);
    CloseHandle(handle);
    return static_cast<int>(std::strtoll(text, nullptr, 10));
}

} // namespace

int wmain() {
    const std::wstring folder = OwnFolder();
    WriteUnits(folder + L"commandline.txt", GetCommandLineW());
    WriteUnits(folder + L"directory.txt", CurrentDirectory());
    return StatusIn(folder + L"status.txt");
}
