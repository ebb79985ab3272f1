#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace keyreap::samples {

using Bytes = std::vector<BYTE>;

// A key that a sample creates and writes to. It ignores failures, as most servers do: a value that was not
// written is missing from the capture, and the tests notice that.
class KeyWriter {
public:
    // Opens or creates `path` below `parent` level by level, since one call of the system creates at most 32
    // levels.
    KeyWriter(HKEY parent, std::wstring_view path);
    KeyWriter(const KeyWriter&) = delete;
    KeyWriter& operator=(const KeyWriter&) = delete;
    ~KeyWriter();

    HKEY Handle() const { return handle; }

    // Sets a value to exactly these bytes. RegSetValueExW adds a terminator to a text without one if the next
    // two bytes in memory are zero; here they never are.
    void Set(std::wstring_view name, DWORD type, const Bytes& data) const;
    // Sets a value to the units of `text`, without a terminator.
    void SetUnits(std::wstring_view name, DWORD type, std::wstring_view text) const;
    // Sets a REG_SZ value with its terminator.
    void SetText(std::wstring_view name, std::wstring_view text) const;
    void SetDword(std::wstring_view name, DWORD number) const;

private:
    HKEY handle = nullptr;
};

// The full path of the module that holds the code at `address`.
std::wstring ModulePathOf(const void* address);

} // namespace keyreap::samples
