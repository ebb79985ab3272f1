#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap::endtoend {

using Bytes = std::vector<unsigned char>;

// The path in the form that the file API takes at any length. All operations here use it.
std::wstring LongForm(const std::wstring& path);

// The content of a file; nothing if it doesn't exist or can't be read.
std::optional<Bytes> ReadBytes(const std::wstring& path);
// The size of a file in bytes; nothing if it doesn't exist.
std::optional<std::uint64_t> SizeOf(const std::wstring& path);
// The UTF-16 units of a file; empty if it doesn't exist.
std::wstring ReadUnits(const std::wstring& path);
bool WriteBytes(const std::wstring& path, const Bytes& bytes);
bool WriteText(const std::wstring& path, std::string_view text);
bool Copy(const std::wstring& from, const std::wstring& to);
bool Exists(const std::wstring& path);
bool IsDirectory(const std::wstring& path);
// Creates a directory and its missing parents.
void MakeDirectory(const std::wstring& path);
void RemoveDirectoryWithContents(const std::wstring& path);
// The relative paths of everything below a directory, sorted; those of directories end in a backslash.
std::vector<std::wstring> ListTree(const std::wstring& directory);

std::wstring ParentOf(const std::wstring& path);
std::wstring NameOf(const std::wstring& path);

// Keeps a file open with the given sharing mode, so that it is locked for everybody else.
class LockedFile {
public:
    LockedFile(const std::wstring& path, DWORD sharing);
    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;
    ~LockedFile();

    bool IsOpen() const { return handle != INVALID_HANDLE_VALUE; }

private:
    HANDLE handle;
};

} // namespace keyreap::endtoend
