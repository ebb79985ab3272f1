#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace keyreap::testsupport {

// A new folder in the user's temporary directory, removed with its contents. Paths here may have any length:
// every operation of this header adds the extended-length prefix itself.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const std::wstring& Path() const { return path; }
    std::wstring File(std::wstring_view name) const;

    // Make an entry and the folders above it, and return its full path.
    std::wstring MakeFolder(std::wstring_view name) const;
    std::wstring MakeFile(std::wstring_view name, std::string_view bytes = {}) const;

    // A name of nested folders whose full path in this folder has the given length.
    std::wstring NameForLength(std::size_t fullLength) const;

private:
    std::wstring path;
};

// The whole of a file; a test fails if it can't be read.
std::string FileBytes(const std::wstring& path);

void WriteBytes(const std::wstring& path, std::string_view bytes);

bool Exists(const std::wstring& path);

void MakeReadOnly(const std::wstring& path);

// The names in a folder that match a pattern, sorted, without "." and "..".
std::vector<std::wstring> NamesIn(const std::wstring& folder, std::wstring_view pattern = L"*");

// The text after the mark FF FE of UTF-16 little endian bytes; without the mark, a text that says so.
std::wstring Utf16Document(const std::string& bytes);

} // namespace keyreap::testsupport
