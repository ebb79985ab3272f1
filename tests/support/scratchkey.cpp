#include "tests/support/scratchkey.h"

#include <sddl.h>

#include <gtest/gtest.h>

#include <cwchar>
#include <iterator>

namespace keyreap::testsupport {

ScratchKey::ScratchKey() {
    RegDeleteTreeW(HKEY_CURRENT_USER, path);
    EXPECT_EQ(
        RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &handle, nullptr),
        ERROR_SUCCESS);
}

ScratchKey::~ScratchKey() {
    RegCloseKey(handle);
    RegDeleteTreeW(HKEY_CURRENT_USER, path);
}

void ScratchKey::Make(const std::wstring& subkey) const {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(handle, subkey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(key);
}

bool ScratchKey::Has(const std::wstring& subkey) const {
    HKEY key = nullptr;
    const bool found = RegOpenKeyExW(handle, subkey.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS;
    if (found) {
        RegCloseKey(key);
    }
    return found;
}

void ScratchKey::SetValue(const std::wstring& subkey, const std::wstring& name, DWORD type, const void* data,
                          std::size_t size) const {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(handle, subkey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(
        RegSetValueExW(key, name.c_str(), 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size)),
        ERROR_SUCCESS);
    RegCloseKey(key);
}

void ScratchKey::SetText(const std::wstring& subkey, const std::wstring& name, std::wstring_view text) const {
    SetValue(subkey, name, REG_SZ, std::wstring(text).c_str(), (text.size() + 1) * sizeof(wchar_t));
}

DeniedKey::DeniedKey(HKEY parent, const wchar_t* subkey, ACCESS_MASK left) {
    EXPECT_EQ(RegOpenKeyExW(parent, subkey, 0, KEY_ALL_ACCESS, &handle), ERROR_SUCCESS);
    wchar_t descriptorText[40];
    std::swprintf(descriptorText, std::size(descriptorText), L"D:(A;;0x%lX;;;WD)", left);
    SetAccess(descriptorText);
}

DeniedKey::~DeniedKey() {
    SetAccess(L"D:(A;CI;GA;;;WD)");
    RegCloseKey(handle);
}

void DeniedKey::SetAccess(const wchar_t* descriptorText) const {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    EXPECT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(descriptorText, SDDL_REVISION_1,
                                                                     &descriptor, nullptr));
    EXPECT_EQ(RegSetKeySecurity(handle, DACL_SECURITY_INFORMATION, descriptor), ERROR_SUCCESS);
    LocalFree(descriptor);
}

} // namespace keyreap::testsupport
