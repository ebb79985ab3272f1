#include "tests/unit/replay/livekey.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace keyreap {

namespace {

constexpr DWORD nameUnits = 1000;

std::wstring ValueContents(DWORD type, const std::vector<BYTE>& data, DWORD size) {
    if (type == REG_SZ) {
        return std::wstring(reinterpret_cast<const wchar_t*>(data.data()));
    }
    return L"type " + std::to_wstring(type) + L", " + std::to_wstring(size) + L" bytes";
}

std::wstring ValuesOf(HKEY key) {
    std::wstring lines;
    wchar_t name[nameUnits];
    for (DWORD index = 0;; ++index) {
        std::vector<BYTE> data(100000);
        DWORD nameLength = nameUnits;
        DWORD size = 99998;
        DWORD type = 0;
        if (RegEnumValueW(key, index, name, &nameLength, nullptr, &type, data.data(), &size) !=
            ERROR_SUCCESS) {
            return lines;
        }
        lines += name + (L"=" + ValueContents(type, data, size)) + L"\n";
    }
}

std::wstring ContentsOf(HKEY parent, const std::wstring& subkey, const std::wstring& shownPath) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(parent, subkey.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return L"";
    }
    std::wstring lines = L"[" + shownPath + L"]\n" + ValuesOf(key);
    wchar_t name[nameUnits];
    for (DWORD index = 0; RegEnumKeyW(key, index, name, nameUnits) == ERROR_SUCCESS; ++index) {
        lines += ContentsOf(key, name, shownPath.empty() ? name : shownPath + L"\\" + name);
    }
    RegCloseKey(key);
    return lines;
}

} // namespace

LiveKey::LiveKey(HKEY root, std::wstring path) : root(root), path(std::move(path)) {
    RegDeleteTreeW(root, this->path.c_str());
}

LiveKey::~LiveKey() {
    RegDeleteTreeW(root, path.c_str());
}

void LiveKey::Make(const std::wstring& subkey) const {
    HKEY key = nullptr;
    EXPECT_EQ(
        RegCreateKeyExW(root, Path(subkey).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
        ERROR_SUCCESS);
    RegCloseKey(key);
}

void LiveKey::SetText(const std::wstring& subkey, const std::wstring& name, std::wstring_view text) const {
    const std::wstring terminated(text);
    SetValue(subkey, name, REG_SZ,
             {reinterpret_cast<const char*>(terminated.c_str()), (terminated.size() + 1) * sizeof(wchar_t)});
}

void LiveKey::SetValue(const std::wstring& subkey, const std::wstring& name, DWORD type,
                       std::string_view data) const {
    HKEY key = nullptr;
    EXPECT_EQ(
        RegCreateKeyExW(root, Path(subkey).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
        ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExW(key, name.c_str(), 0, type, reinterpret_cast<const BYTE*>(data.data()),
                             static_cast<DWORD>(data.size())),
              ERROR_SUCCESS);
    RegCloseKey(key);
}

std::wstring LiveKey::Contents() const {
    return ContentsOf(root, path, L"");
}

} // namespace keyreap
