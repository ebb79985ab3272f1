#include "platform/os/file/removal.h"

#include "platform/os/file/widepath.h"
#include "platform/os/ownedhandle.h"

#include <string>

namespace keyreap {

namespace {

std::wstring InDirectory(std::wstring_view directory, std::wstring_view name) {
    std::wstring path(directory);
    if (!path.ends_with(L'\\')) {
        path += L'\\';
    }
    path += name;
    return path;
}

void ClearReadOnly(const std::wstring& path) {
    const std::wstring form = ExtendedLengthForm(path);
    const DWORD attributes = GetFileAttributesW(form.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        SetFileAttributesW(form.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    }
}

void RemoveEntry(const std::wstring& path, DWORD attributes) {
    const bool isDirectory = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (isDirectory) {
        RemoveTree(path);
    }
    ClearReadOnly(path);
    if (isDirectory) {
        RemoveDirectoryLong(path);
    } else {
        DeleteFileLong(path);
    }
}

bool IsDotEntry(std::wstring_view name) {
    return name == L"." || name == L"..";
}

} // namespace

void RemoveTree(std::wstring_view directory) {
    if (directory.empty()) {
        // The result of a failed name. Its pattern would be the root of the current drive.
        return;
    }
    const std::wstring pattern = ExtendedLengthForm(InDirectory(directory, L"*"));
    WIN32_FIND_DATAW entry;
    const OwnedFindHandle search(FindFirstFileW(pattern.c_str(), &entry));
    if (!search.Valid()) {
        return;
    }
    do {
        if (!IsDotEntry(entry.cFileName)) {
            RemoveEntry(InDirectory(directory, entry.cFileName), entry.dwFileAttributes);
        }
    } while (FindNextFileW(search.Get(), &entry));
}

bool RemoveDirectoryLong(std::wstring_view path) {
    return RemoveDirectoryW(PrefixedFromMaxPath(path).c_str()) == 1;
}

bool DeleteFileLong(std::wstring_view path) {
    return DeleteFileW(PrefixedFromMaxPath(path).c_str()) == 1;
}

} // namespace keyreap
