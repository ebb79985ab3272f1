#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace keyreap::testsupport {

// A key under HKEY_CURRENT_USER for one test: empty at its start and deleted at its end.
class ScratchKey {
public:
    ScratchKey();
    ScratchKey(const ScratchKey&) = delete;
    ScratchKey& operator=(const ScratchKey&) = delete;
    ~ScratchKey();

    static constexpr wchar_t path[] = L"Software\\KeyreapScratch";

    // Creates the subkey, with its parents.
    void Make(const std::wstring& subkey) const;
    bool Has(const std::wstring& subkey) const;
    void SetValue(const std::wstring& subkey, const std::wstring& name, DWORD type, const void* data,
                  std::size_t size) const;
    void SetText(const std::wstring& subkey, const std::wstring& name, std::wstring_view text) const;

    HKEY Handle() const { return handle; }

private:
    HKEY handle = nullptr;
};

// Denies everybody all rights to a key except `left`, as long as the object lives.
class DeniedKey {
public:
    DeniedKey(HKEY parent, const wchar_t* subkey, ACCESS_MASK left = READ_CONTROL);
    DeniedKey(const DeniedKey&) = delete;
    DeniedKey& operator=(const DeniedKey&) = delete;
    ~DeniedKey();

private:
    void SetAccess(const wchar_t* descriptorText) const;

    HKEY handle = nullptr;
};

} // namespace keyreap::testsupport
