#include "tests/endtoend/harness/registry.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <set>
#include <string_view>

namespace keyreap::endtoend {

namespace {

constexpr DWORD longestKeyName = 256;
constexpr DWORD longestValueName = 16'384;
constexpr wchar_t currentControlSet[] = L"System\\CurrentControlSet";

// Keys that are not read: a second view of a part of the classes, and Wine's own key, which changes whenever
// a program starts.
const std::set<std::wstring> leftOut = {L"HKLM\\Software\\Wow6432Node\\Classes", L"HKCU\\Software\\Wine"};

class Reader {
public:
    explicit Reader(RegistryTree& keys) : keys(keys) {}

    void Read(HKEY key, const std::wstring& path) {
        ReadValues(key, keys[path]);
        for (const std::wstring& name : Subkeys(key)) {
            const std::wstring childPath = path.empty() ? name : path + L"\\" + name;
            HKEY child = nullptr;
            if (!leftOut.contains(childPath) &&
                RegOpenKeyExW(key, name.c_str(), 0, KEY_READ, &child) == ERROR_SUCCESS) {
                Read(child, childPath);
                RegCloseKey(child);
            }
        }
    }

private:
    std::vector<std::wstring> Subkeys(HKEY key) {
        std::vector<std::wstring> names;
        wchar_t name[longestKeyName];
        DWORD length = longestKeyName;
        for (DWORD index = 0;
             RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
             ++index) {
            names.emplace_back(name, length);
            length = longestKeyName;
        }
        return names;
    }

    LSTATUS EnumValue(HKEY key, DWORD index, DWORD& nameLength, DWORD& type, DWORD& size) {
        nameLength = longestValueName;
        size = static_cast<DWORD>(data.size());
        return RegEnumValueW(key, index, valueName.data(), &nameLength, nullptr, &type, data.data(), &size);
    }

    void ReadValues(HKEY key, RegistryValues& values) {
        DWORD nameLength = 0;
        DWORD type = 0;
        DWORD size = 0;
        for (DWORD index = 0;; ++index) {
            LSTATUS status = EnumValue(key, index, nameLength, type, size);
            if (status == ERROR_MORE_DATA) {
                data.resize(size);
                status = EnumValue(key, index, nameLength, type, size);
            }
            if (status != ERROR_SUCCESS) {
                return;
            }
            values[std::wstring(valueName.data(), nameLength)] = {
                type, {data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size)}};
        }
    }

    RegistryTree& keys;
    std::wstring valueName = std::wstring(longestValueName, L'\0');
    std::vector<unsigned char> data = std::vector<unsigned char>(4096);
};

void AppendMissing(const RegistryTree& in, const RegistryTree& from, const wchar_t* mark,
                   std::vector<std::wstring>& differences) {
    for (const auto& [path, values] : in) {
        if (!from.contains(path)) {
            differences.push_back(mark + path);
        }
    }
}

void AppendChangedValues(const std::wstring& path, const RegistryValues& before, const RegistryValues& after,
                         std::vector<std::wstring>& differences) {
    RegistryValues all = before;
    all.insert(after.begin(), after.end());
    for (const auto& [name, value] : all) {
        const auto old = before.find(name);
        const auto now = after.find(name);
        if (old == before.end() || now == after.end() || !(old->second == now->second)) {
            differences.push_back(L"! " + path + L" [" + name + L"]");
        }
    }
}

} // namespace

void PrintTo(const RegistryValue& value, std::ostream* stream) {
    constexpr std::size_t shown = 64;
    constexpr char digits[] = "0123456789abcdef";
    *stream << "type " << value.type << ", " << value.data.size() << " bytes:";
    for (std::size_t i = 0; i < value.data.size() && i < shown; ++i) {
        *stream << ' ' << digits[value.data[i] / 16] << digits[value.data[i] % 16];
    }
}

RegistryTree ReadTree(HKEY root, const std::wstring& path) {
    RegistryTree keys;
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS) {
        Reader(keys).Read(key, L"");
        RegCloseKey(key);
    }
    return keys;
}

bool KeyExists(HKEY root, const std::wstring& path) {
    HKEY key = nullptr;
    const bool exists = RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS;
    RegCloseKey(key);
    return exists;
}

DWORD CountValues(HKEY root, const std::wstring& path) {
    HKEY key = nullptr;
    DWORD count = 0;
    RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key);
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count, nullptr, nullptr,
                     nullptr, nullptr);
    RegCloseKey(key);
    return count;
}

void CreateKey(HKEY root, const std::wstring& path) {
    HKEY key = nullptr;
    RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &key, nullptr);
    RegCloseKey(key);
}

void DeleteTree(HKEY root, const std::wstring& path) {
    RegDeleteTreeW(root, path.c_str());
}

void LinkKey(HKEY root, const std::wstring& path, const std::wstring& target) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(root, path.c_str(), 0, nullptr, REG_OPTION_CREATE_LINK | REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS | KEY_CREATE_LINK, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExW(key, L"SymbolicLinkValue", 0, REG_LINK,
                             reinterpret_cast<const BYTE*>(target.data()),
                             static_cast<DWORD>(target.size() * sizeof(wchar_t))),
              ERROR_SUCCESS);
    RegCloseKey(key);
}

void SetText(HKEY root, const std::wstring& path, const std::wstring& name, const std::wstring& text) {
    SetValues(root, path, {{name, TextValue(text)}});
}

void SetValues(HKEY root, const std::wstring& path, const RegistryValues& values) {
    HKEY key = nullptr;
    RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &key, nullptr);
    for (const auto& [name, value] : values) {
        RegSetValueExW(key, name.c_str(), 0, value.type, value.data.data(),
                       static_cast<DWORD>(value.data.size()));
    }
    RegCloseKey(key);
}

std::wstring RealControlSet() {
    constexpr std::wstring_view machine = L"\\Registry\\Machine\\";
    HKEY key = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, currentControlSet, REG_OPTION_OPEN_LINK, KEY_QUERY_VALUE, &key);
    DWORD type = 0;
    std::array<wchar_t, MAX_PATH> target{};
    DWORD size = sizeof(target);
    const LSTATUS status = RegQueryValueExW(key, L"SymbolicLinkValue", nullptr, &type,
                                            reinterpret_cast<BYTE*>(target.data()), &size);
    RegCloseKey(key);
    if (status != ERROR_SUCCESS || type != REG_LINK) {
        return currentControlSet;
    }
    return std::wstring(target.data(), size / sizeof(wchar_t)).substr(machine.size());
}

bool CurrentControlSetIsLink() {
    return RealControlSet() != currentControlSet;
}

RegistryValue TextValue(const std::wstring& text) {
    RegistryValue value = {REG_SZ, std::vector<unsigned char>((text.size() + 1) * sizeof(wchar_t))};
    std::memcpy(value.data.data(), text.c_str(), value.data.size());
    return value;
}

RegistryValue NumberValue(DWORD number) {
    RegistryValue value = {REG_DWORD, std::vector<unsigned char>(sizeof(number))};
    std::memcpy(value.data.data(), &number, sizeof(number));
    return value;
}

MachineState::MachineState() {
    const std::tuple<HKEY, const wchar_t*, const wchar_t*> parts[] = {
        {HKEY_CURRENT_USER, L"", L"HKCU"}, {HKEY_LOCAL_MACHINE, L"Software", L"HKLM\\Software"}};
    for (const auto& [root, path, name] : parts) {
        HKEY key = nullptr;
        RegOpenKeyExW(root, path, 0, KEY_READ, &key);
        Reader(keys).Read(key, name);
        RegCloseKey(key);
    }
}

std::vector<std::wstring> MachineState::Changes() const {
    const MachineState after;
    std::vector<std::wstring> differences;
    AppendMissing(after.keys, keys, L"+ ", differences);
    AppendMissing(keys, after.keys, L"- ", differences);
    for (const auto& [path, values] : keys) {
        if (const auto now = after.keys.find(path); now != after.keys.end()) {
            AppendChangedValues(path, values, now->second, differences);
        }
    }
    return differences;
}

} // namespace keyreap::endtoend
