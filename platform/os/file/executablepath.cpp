#include "platform/os/file/executablepath.h"

#include <windows.h>

#include <array>

namespace keyreap {

WidePath GetExecutablePath() {
    std::array<wchar_t, 1024> buffer{};
    const DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    return WidePath(std::wstring_view(buffer.data(), length));
}

} // namespace keyreap
