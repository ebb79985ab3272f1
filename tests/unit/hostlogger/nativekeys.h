#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace keyreap {

// Registry keys by the system's native calls, for tests of what predicts their answers.

// A key asked for by a name relative to another, or by a complete one. No handle if it isn't there.
class NativeTestKey {
public:
    NativeTestKey() = default;
    static NativeTestKey Open(HANDLE parent, std::wstring name, ACCESS_MASK access, ULONG attributes = 0);
    // Makes it if it isn't there.
    static NativeTestKey Create(HANDLE parent, std::wstring name, ACCESS_MASK access, ULONG options = 0);

    NativeTestKey(NativeTestKey&& other) noexcept;
    NativeTestKey& operator=(NativeTestKey&& other) noexcept;
    ~NativeTestKey();

    HANDLE Handle() const { return handle; }
    bool IsOpen() const { return handle != nullptr; }
    // False if this object made it.
    bool WasThere() const { return wasThere; }

    // What the system calls it.
    std::wstring RealPath() const;
    // The names of its first subkeys.
    std::vector<std::wstring> Subkeys(unsigned most) const;

    void SetLinkTarget(const std::wstring& target) const;
    void Delete() const;

private:
    HANDLE handle = nullptr;
    bool wasThere = false;
};

} // namespace keyreap
