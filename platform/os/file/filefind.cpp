#include "platform/os/file/filefind.h"

#include "platform/os/file/widepath.h"

namespace keyreap {

namespace {

constexpr wchar_t separators[] = L"\\/";

std::wstring FullPathName(const std::wstring& path) {
    const DWORD needed = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring buffer(needed, L'\0');
    const DWORD length = GetFullPathNameW(path.c_str(), needed, buffer.data(), nullptr);
    buffer.resize(length < needed ? length : 0);
    return buffer;
}

bool EndsInSeparator(std::wstring_view text) {
    return !text.empty() && (text.back() == L'\\' || text.back() == L'/');
}

} // namespace

std::optional<std::wstring> SearchRoot(std::wstring_view fullPath) {
    const std::size_t last = fullPath.find_last_of(separators);
    if (last == std::wstring_view::npos) {
        return std::nullopt;
    }
    return std::wstring(fullPath.substr(0, last));
}

bool FileFind::FindFile(const wchar_t* pattern) {
    Close();
    const std::wstring searched = PrefixedFromMaxPath(pattern != nullptr ? pattern : L"*.*");
    handle.Reset(FindFirstFileW(searched.c_str(), &entry));
    if (!handle.Valid()) {
        return false;
    }
    const std::optional<std::wstring> directory = SearchRoot(FullPathName(searched));
    if (!directory) {
        Close();
        SetLastError(ERROR_INVALID_NAME);
        return false;
    }
    root = *directory;
    found = true;
    return true;
}

bool FileFind::FindNext() {
    found = handle.Valid() && FindNextFileW(handle.Get(), &entry);
    return found;
}

std::wstring FileFind::GetFilePath() const {
    std::wstring path = root;
    if (!EndsInSeparator(path)) {
        path += separator;
    }
    path += entry.cFileName;
    return PrefixedFromMaxPath(path);
}

void FileFind::Close() {
    root.clear();
    found = false;
    handle.Reset();
}

} // namespace keyreap
