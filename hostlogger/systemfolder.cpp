#include "hostlogger/systemfolder.h"

#include <windows.h>

#include <array>

namespace keyreap {

std::wstring SystemFolder() {
    std::array<wchar_t, MAX_PATH> folder{};
    const UINT length = GetSystemWindowsDirectoryW(folder.data(), static_cast<UINT>(folder.size()));
    return std::wstring(folder.data(), length < folder.size() ? length : 0);
}

} // namespace keyreap
