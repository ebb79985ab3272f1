#pragma once

#include "platform/os/ownedhandle.h"

#include <windows.h>

#include <array>
#include <string>
#include <vector>

namespace keyreap::testsupport {

// Records which files are made in a folder, by any process.
class FolderWatch {
public:
    explicit FolderWatch(const std::wstring& folder);
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    // The names that were made there since the start or the last call, in order.
    std::vector<std::wstring> NamesMade();

private:
    void Listen();
    std::vector<std::wstring> NextNames();

    std::wstring folder;
    OwnedFile directory;
    OwnedHandle changed;
    OVERLAPPED overlapped{};
    alignas(DWORD) std::array<char, 64 * 1024> buffer{};
};

} // namespace keyreap::testsupport
