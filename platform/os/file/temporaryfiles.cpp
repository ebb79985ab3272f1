#include "platform/os/file/temporaryfiles.h"

#include "platform/os/file/temporarynames.h"
#include "platform/os/ownedhandle.h"

#include <windows.h>

#include <shlwapi.h>

#include <array>

namespace keyreap {

namespace {

bool FileExists(const WidePath& path) {
    return PathFileExistsW(path.ExtendedLengthForm().c_str());
}

void CreateEmptyFile(const WidePath& path) {
    const OwnedFile file(CreateFileW(path.ExtendedLengthForm().c_str(), GENERIC_WRITE, 0, nullptr,
                                     CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// Creates an empty file with a free name and returns the name; empty on failure.
std::wstring CreateTempFile(const std::wstring& directory, const std::wstring& prefix) {
    std::array<wchar_t, MAX_PATH> name{};
    return GetTempFileNameW(directory.c_str(), prefix.c_str(), 0, name.data()) != 0 ? name.data() : L"";
}

} // namespace

WidePath GetTempDirectory() {
    std::wstring buffer(GetTempPathW(0, nullptr) + 1, L'\0');
    const DWORD length = GetTempPathW(static_cast<DWORD>(buffer.size()), buffer.data());
    if (length > buffer.size()) {
        return {};
    }
    return WidePath(std::wstring_view(buffer).substr(0, length));
}

bool ReserveTempName(const std::wstring& prefix, std::wstring& name) {
    std::array<wchar_t, MAX_PATH> directory{};
    const DWORD length = GetTempPathW(static_cast<DWORD>(directory.size()), directory.data());
    if (length == 0 || length > directory.size()) {
        return false;
    }
    const std::wstring created = CreateTempFile(directory.data(), prefix);
    if (created.empty()) {
        return false;
    }
    name = created;
    DeleteFileW(created.c_str());
    return true;
}

WidePath CreateTempFileWithExtension(const std::wstring& prefix, const std::wstring& extension) {
    const WidePath directory = GetTempDirectory();
    const std::wstring created = CreateTempFile(directory.ExtendedLengthForm(), prefix);
    if (extension.empty()) {
        return WidePath(created);
    }
    DeleteFileW(created.c_str());
    return CreateFileWithExtension(created, directory, prefix, extension);
}

WidePath CreateFileWithExtension(const std::wstring& created, const WidePath& directory,
                                 const std::wstring& prefix, const std::wstring& extension) {
    WidePath path(ReplaceExtension(created, extension));
    if (FileExists(path)) {
        path = NextFreeName(path, directory, prefix, extension, FileExists);
    }
    CreateEmptyFile(path);
    return path;
}

} // namespace keyreap
