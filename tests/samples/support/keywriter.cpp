#include "tests/samples/support/keywriter.h"

#include <cstring>

namespace keyreap::samples {

namespace {

HKEY CreateOneLevel(HKEY parent, const std::wstring& name) {
    HKEY key = nullptr;
    RegCreateKeyExW(parent, name.c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &key, nullptr);
    return key;
}

} // namespace

KeyWriter::KeyWriter(HKEY parent, std::wstring_view path) {
    handle = parent;
    while (!path.empty()) {
        const std::size_t end = path.find(L'\\');
        HKEY child = CreateOneLevel(handle, std::wstring(path.substr(0, end)));
        if (handle != parent) {
            RegCloseKey(handle);
        }
        handle = child;
        path = end == std::wstring_view::npos ? std::wstring_view() : path.substr(end + 1);
    }
}

KeyWriter::~KeyWriter() {
    RegCloseKey(handle);
}

void KeyWriter::Set(std::wstring_view name, DWORD type, const Bytes& data) const {
    constexpr std::size_t unitSize = 2;
    Bytes guarded(unitSize, 0);
    guarded.insert(guarded.end(), data.begin(), data.end());
    guarded.insert(guarded.end(), 2 * unitSize, 0xFF);
    RegSetValueExW(handle, std::wstring(name).c_str(), 0, type, guarded.data() + unitSize,
                   static_cast<DWORD>(data.size()));
}

void KeyWriter::SetUnits(std::wstring_view name, DWORD type, std::wstring_view text) const {
    Bytes data(text.size() * sizeof(wchar_t));
    if (!data.empty()) {
        std::memcpy(data.data(), text.data(), data.size());
    }
    Set(name, type, data);
}

void KeyWriter::SetText(std::wstring_view name, std::wstring_view text) const {
    SetUnits(name, REG_SZ, std::wstring(text) + L'\0');
}

void KeyWriter::SetDword(std::wstring_view name, DWORD number) const {
    Bytes data(sizeof(number));
    std::memcpy(data.data(), &number, sizeof(number));
    Set(name, REG_DWORD, data);
}

std::wstring ModulePathOf(const void* address) {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<LPCWSTR>(address), &module);
    constexpr DWORD longestPath = 1024;
    wchar_t path[longestPath] = {};
    return std::wstring(path, GetModuleFileNameW(module, path, longestPath));
}

} // namespace keyreap::samples
