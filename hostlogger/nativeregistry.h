#pragma once

#include <optional>
#include <string>

namespace keyreap {

// What NtOpenKey says of a complete name: NT status, and of a symbolic link that was opened as such, its
// target. The 64-bit view. Windows only.
struct NativeKey {
    long status = 0;
    std::optional<std::wstring> linkTarget;
};
NativeKey LookAtNativeKey(std::wstring name);

} // namespace keyreap
