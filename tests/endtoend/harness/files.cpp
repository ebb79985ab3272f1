#include "tests/endtoend/harness/files.h"

#include <algorithm>
#include <cstring>

namespace keyreap::endtoend {

namespace {

bool WriteAll(const std::wstring& path, const void* data, std::size_t size) {
    HANDLE file = CreateFileW(LongForm(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return false;
    }
    DWORD written = 0;
    const BOOL done = WriteFile(file, data, static_cast<DWORD>(size), &written, nullptr);
    CloseHandle(file);
    return done && written == size;
}

bool IsDots(const std::wstring& name) {
    return name == L"." || name == L"..";
}

std::vector<WIN32_FIND_DATAW> Entries(const std::wstring& directory) {
    std::vector<WIN32_FIND_DATAW> entries;
    WIN32_FIND_DATAW entry = {};
    HANDLE search = FindFirstFileW(LongForm(directory + L"\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) {
        return entries;
    }
    do {
        if (!IsDots(entry.cFileName)) {
            entries.push_back(entry);
        }
    } while (FindNextFileW(search, &entry));
    FindClose(search);
    return entries;
}

bool IsDirectory(const WIN32_FIND_DATAW& entry) {
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

void AppendTree(const std::wstring& directory, const std::wstring& prefix, std::vector<std::wstring>& names) {
    for (const WIN32_FIND_DATAW& entry : Entries(directory)) {
        const std::wstring name = entry.cFileName;
        if (IsDirectory(entry)) {
            names.push_back(prefix + name + L"\\");
            AppendTree(directory + L"\\" + name, prefix + name + L"\\", names);
        } else {
            names.push_back(prefix + name);
        }
    }
}

} // namespace

std::wstring LongForm(const std::wstring& path) {
    if (path.starts_with(L"\\\\?\\") || path.size() < 2) {
        return path;
    }
    if (path.starts_with(L"\\\\")) {
        return L"\\\\?\\UNC" + path.substr(1);
    }
    return path[1] == L':' ? L"\\\\?\\" + path : path;
}

std::optional<Bytes> ReadBytes(const std::wstring& path) {
    HANDLE file = CreateFileW(LongForm(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return std::nullopt;
    }
    Bytes bytes(GetFileSize(file, nullptr));
    DWORD count = 0;
    ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr);
    CloseHandle(file);
    bytes.resize(count);
    return bytes;
}

std::optional<std::uint64_t> SizeOf(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!GetFileAttributesExW(LongForm(path).c_str(), GetFileExInfoStandard, &data)) {
        return std::nullopt;
    }
    return (std::uint64_t{data.nFileSizeHigh} << 32) | data.nFileSizeLow;
}

std::wstring ReadUnits(const std::wstring& path) {
    const Bytes bytes = ReadBytes(path).value_or(Bytes());
    std::wstring units(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(units.data(), bytes.data(), units.size() * sizeof(wchar_t));
    return units;
}

bool WriteBytes(const std::wstring& path, const Bytes& bytes) {
    return WriteAll(path, bytes.data(), bytes.size());
}

bool WriteText(const std::wstring& path, std::string_view text) {
    return WriteAll(path, text.data(), text.size());
}

bool Copy(const std::wstring& from, const std::wstring& to) {
    return CopyFileW(LongForm(from).c_str(), LongForm(to).c_str(), FALSE);
}

bool Exists(const std::wstring& path) {
    return GetFileAttributesW(LongForm(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool IsDirectory(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(LongForm(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

void MakeDirectory(const std::wstring& path) {
    if (!path.empty() && path.back() != L':' && !IsDirectory(path)) {
        MakeDirectory(ParentOf(path));
        CreateDirectoryW(LongForm(path).c_str(), nullptr);
    }
}

void RemoveDirectoryWithContents(const std::wstring& path) {
    for (const WIN32_FIND_DATAW& entry : Entries(path)) {
        const std::wstring child = path + L"\\" + entry.cFileName;
        SetFileAttributesW(LongForm(child).c_str(), FILE_ATTRIBUTE_NORMAL);
        if (IsDirectory(entry)) {
            RemoveDirectoryWithContents(child);
        } else {
            DeleteFileW(LongForm(child).c_str());
        }
    }
    RemoveDirectoryW(LongForm(path).c_str());
}

std::vector<std::wstring> ListTree(const std::wstring& directory) {
    std::vector<std::wstring> names;
    AppendTree(directory, L"", names);
    std::sort(names.begin(), names.end());
    return names;
}

std::wstring ParentOf(const std::wstring& path) {
    const std::size_t backslash = path.rfind(L'\\');
    return backslash == std::wstring::npos ? std::wstring() : path.substr(0, backslash);
}

std::wstring NameOf(const std::wstring& path) {
    return path.substr(path.rfind(L'\\') + 1);
}

LockedFile::LockedFile(const std::wstring& path, DWORD sharing)
    : handle(CreateFileW(LongForm(path).c_str(), GENERIC_READ, sharing, nullptr, OPEN_EXISTING,
                         FILE_ATTRIBUTE_NORMAL, nullptr)) {}

LockedFile::~LockedFile() {
    CloseHandle(handle);
}

} // namespace keyreap::endtoend
