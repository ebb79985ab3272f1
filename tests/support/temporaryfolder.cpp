#include "tests/support/temporaryfolder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace keyreap::testsupport {

namespace {

constexpr std::size_t nestedNameLength = 60;

std::wstring LongForm(const std::wstring& path) {
    return path.starts_with(L"\\\\?\\") ? path : L"\\\\?\\" + path;
}

std::vector<WIN32_FIND_DATAW> EntriesIn(const std::wstring& folder, std::wstring_view pattern) {
    std::vector<WIN32_FIND_DATAW> entries;
    WIN32_FIND_DATAW entry;
    const std::wstring searched = LongForm(folder) + L"\\" + std::wstring(pattern);
    const HANDLE search = FindFirstFileW(searched.c_str(), &entry);
    for (bool found = search != INVALID_HANDLE_VALUE; found; found = FindNextFileW(search, &entry)) {
        const std::wstring_view name = entry.cFileName;
        if (name != L"." && name != L"..") {
            entries.push_back(entry);
        }
    }
    FindClose(search);
    return entries;
}

void RemoveFolder(const std::wstring& folder) {
    for (const WIN32_FIND_DATAW& entry : EntriesIn(folder, L"*")) {
        const std::wstring path = LongForm(folder + L"\\" + entry.cFileName);
        SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            RemoveFolder(path);
        } else {
            DeleteFileW(path.c_str());
        }
    }
    RemoveDirectoryW(LongForm(folder).c_str());
}

} // namespace

TemporaryFolder::TemporaryFolder() {
    wchar_t directory[MAX_PATH + 1];
    wchar_t name[MAX_PATH + 1];
    GetTempPathW(MAX_PATH, directory);
    GetTempFileNameW(directory, L"tst", 0, name);
    DeleteFileW(name);
    path = name;
    EXPECT_TRUE(CreateDirectoryW(path.c_str(), nullptr));
}

TemporaryFolder::~TemporaryFolder() {
    RemoveFolder(path);
}

std::wstring TemporaryFolder::File(std::wstring_view name) const {
    return path + L"\\" + std::wstring(name);
}

std::wstring TemporaryFolder::MakeFolder(std::wstring_view name) const {
    for (std::size_t end = 0; end != std::wstring_view::npos;) {
        end = name.find(L'\\', end + 1);
        CreateDirectoryW(LongForm(File(name.substr(0, end))).c_str(), nullptr);
    }
    return File(name);
}

std::wstring TemporaryFolder::MakeFile(std::wstring_view name, std::string_view bytes) const {
    const std::size_t separator = name.rfind(L'\\');
    if (separator != std::wstring_view::npos) {
        MakeFolder(name.substr(0, separator));
    }
    WriteBytes(File(name), bytes);
    return File(name);
}

std::wstring TemporaryFolder::NameForLength(std::size_t fullLength) const {
    std::wstring name(fullLength - path.size() - 1, L'n');
    for (std::size_t i = nestedNameLength; i + 1 < name.size(); i += nestedNameLength + 1) {
        name[i] = L'\\';
    }
    return name;
}

std::string FileBytes(const std::wstring& path) {
    const HANDLE file = CreateFileW(LongForm(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_NE(file, INVALID_HANDLE_VALUE);
    std::string bytes(file == INVALID_HANDLE_VALUE ? 0 : GetFileSize(file, nullptr), '\0');
    DWORD read = 0;
    EXPECT_TRUE(ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr));
    CloseHandle(file);
    return bytes;
}

void WriteBytes(const std::wstring& path, std::string_view bytes) {
    const HANDLE file = CreateFileW(LongForm(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_NE(file, INVALID_HANDLE_VALUE);
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
    CloseHandle(file);
}

bool Exists(const std::wstring& path) {
    return GetFileAttributesW(LongForm(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

void MakeReadOnly(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(LongForm(path).c_str());
    EXPECT_TRUE(SetFileAttributesW(LongForm(path).c_str(), attributes | FILE_ATTRIBUTE_READONLY));
}

std::vector<std::wstring> NamesIn(const std::wstring& folder, std::wstring_view pattern) {
    std::vector<std::wstring> names;
    for (const WIN32_FIND_DATAW& entry : EntriesIn(folder, pattern)) {
        names.emplace_back(entry.cFileName);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::wstring Utf16Document(const std::string& bytes) {
    if (bytes.size() < 2 || bytes.size() % 2 != 0 || bytes.compare(0, 2, "\xFF\xFE") != 0) {
        return L"(no UTF-16 document)";
    }
    std::wstring text;
    for (std::size_t i = 2; i < bytes.size(); i += 2) {
        text += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) |
                                     (static_cast<unsigned char>(bytes[i + 1]) << 8));
    }
    return text;
}

} // namespace keyreap::testsupport
