#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace keyreap {

// A key of the real registry for one test, which deletes it with its subtree at its start and its end.
// Subkeys are named relative to it; the empty name is the key itself.
class LiveKey {
public:
    LiveKey(HKEY root, std::wstring path);
    ~LiveKey();
    LiveKey(const LiveKey&) = delete;
    LiveKey& operator=(const LiveKey&) = delete;

    void Make(const std::wstring& subkey = {}) const;
    void SetText(const std::wstring& subkey, const std::wstring& name, std::wstring_view text) const;
    void SetValue(const std::wstring& subkey, const std::wstring& name, DWORD type,
                  std::string_view data) const;

    // The content of the key, a line for each key and each value, in the system's order: "[A\B]", "name=text"
    // (other types than REG_SZ as "name=type 4, 4 bytes"). Empty if the key doesn't exist.
    std::wstring Contents() const;

    const std::wstring& Path() const { return path; }
    std::wstring Path(std::wstring_view subkey) const {
        return subkey.empty() ? path : path + L"\\" + std::wstring(subkey);
    }

private:
    HKEY root;
    std::wstring path;
};

} // namespace keyreap
