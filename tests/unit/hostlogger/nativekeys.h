#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace keyreap {

// A registry key opened by the system's native calls, for tests of predicted results: by a name relative to
// another key, or by a complete one. Without a handle if it doesn't exist.
class NativeTestKey {
public:
    NativeTestKey() = default;
    static NativeTestKey Open(HANDLE parent, std::wstring name, ACCESS_MASK access, ULONG attributes = 0);
    // Creates the key if it doesn't exist.
    static NativeTestKey Create(HANDLE parent, std::wstring name, ACCESS_MASK access, ULONG options = 0);

    NativeTestKey(NativeTestKey&& other) noexcept;
    NativeTestKey& operator=(NativeTestKey&& other) noexcept;
    ~NativeTestKey();

    HANDLE Handle() const { return handle; }
    bool IsOpen() const { return handle != nullptr; }
    // False if this object created the key.
    bool Existed() const { return existed; }

    // Its path, from the system.
    std::wstring RealPath() const;
    // The names of its first subkeys.
    std::vector<std::wstring> Subkeys(unsigned most) const;

    void SetLinkTarget(const std::wstring& target) const;
    void Delete() const;

private:
    HANDLE handle = nullptr;
    bool existed = false;
};

} // namespace keyreap
