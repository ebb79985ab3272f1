#include "pe/shimclone.h"

#include "platform/os/file/widepath.h"

#include <windows.h>

#include <shlobj.h>

#include <array>
#include <utility>

namespace keyreap {

namespace {

bool IsInWindowsFolder(const std::wstring& file) {
    std::array<wchar_t, MAX_PATH> folder{};
    SHGetFolderPathW(nullptr, CSIDL_WINDOWS, nullptr, 0, folder.data());
    return file.starts_with(folder.data());
}

// Makes an empty file and returns its name, or an empty name.
std::wstring CreateTemporaryFile() {
    std::array<wchar_t, MAX_PATH> folder{};
    std::array<wchar_t, MAX_PATH> name{};
    GetTempPathW(static_cast<DWORD>(folder.size()), folder.data());
    return GetTempFileNameW(folder.data(), L"shim_clone", 0, name.data()) != 0 ? name.data() : L"";
}

} // namespace

bool CopyUnredirected(const std::wstring& from, const std::wstring& to, const Wow64Entry& entry) {
    FsRedirectionGuard guard;
    if (entry.disable != nullptr) {
        entry.disable(&guard.savedValue);
        guard.suspended = true;
    }
    const bool copied =
        CopyFileW(ExtendedLengthForm(from).c_str(), ExtendedLengthForm(to).c_str(), FALSE) == 1;
    RevertFsRedirection(guard, entry);
    return copied;
}

ShimClone::ShimClone(std::wstring file) : ShimClone(std::move(file), RunningVersion()) {}

ShimClone::ShimClone(std::wstring file, const OsVersion& system) : path(std::move(file)) {
    if (!IsAtLeast(system, Windows10Version()) || !IsInWindowsFolder(path)) {
        return;
    }
    // Deliberate: a failed copy leaves the empty temporary file on disk.
    std::wstring copy = CreateTemporaryFile();
    isCopy = CopyUnredirected(path, copy, EnsureWow64Entry());
    if (isCopy) {
        path = std::move(copy);
    }
}

ShimClone::~ShimClone() {
    if (isCopy) {
        DeleteFileW(ExtendedLengthForm(path).c_str());
    }
}

} // namespace keyreap
