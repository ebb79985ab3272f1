#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap::endtoend {

using Bytes = std::vector<unsigned char>;

// The name that the file API takes at any length. All operations here put their paths into this form.
std::wstring LongForm(const std::wstring& path);

// The content of a file; nothing if there is no such file or it cannot be read.
std::optional<Bytes> ReadBytes(const std::wstring& path);
// How long a file is; nothing if there is none.
std::optional<std::uint64_t> SizeOf(const std::wstring& path);
// The UTF-16 units in a file of them; empty if there is no such file.
std::wstring ReadUnits(const std::wstring& path);
bool WriteBytes(const std::wstring& path, const Bytes& bytes);
bool WriteText(const std::wstring& path, std::string_view text);
bool Copy(const std::wstring& from, const std::wstring& to);
bool Exists(const std::wstring& path);
bool IsDirectory(const std::wstring& path);
// Makes a directory with its parents.
void MakeDirectory(const std::wstring& path);
void RemoveDirectoryWithContents(const std::wstring& path);
// The relative names of all that lies below a directory, sorted; directories end in a backslash.
std::vector<std::wstring> ListTree(const std::wstring& directory);

std::wstring ParentOf(const std::wstring& path);
std::wstring NameOf(const std::wstring& path);

// Holds a file open with the given sharing, so that others meet a locked file.
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
