#pragma once

#include <optional>
#include <string>

namespace keyreap {

// What NtOpenKey returns for a complete name in the 64-bit view: its NT status, and the target if the key is
// a symbolic link. Windows only.
struct NativeKey {
    long status = 0;
    std::optional<std::wstring> linkTarget;
};
NativeKey LookAtNativeKey(std::wstring name);

// The complete name of the current user's hive; empty if the system doesn't give it. Windows only.
std::wstring CurrentUserKey();

} // namespace keyreap
