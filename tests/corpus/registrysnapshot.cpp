#include "tests/corpus/registrysnapshot.h"

namespace keyreap::corpus {

namespace {

constexpr DWORD longestName = 16'384; // of a value, with its terminator; names of keys are shorter
constexpr const wchar_t* linkValue = L"SymbolicLinkValue";

OpenKey OpenSubkey(HKEY key, const std::wstring& name) {
    HKEY opened = nullptr;
    RegOpenKeyExW(key, name.c_str(), REG_OPTION_OPEN_LINK, KEY_ALL_ACCESS, &opened);
    return OpenKey(opened);
}

bool IsLink(HKEY key) {
    DWORD type = 0;
    return RegQueryValueExW(key, linkValue, nullptr, &type, nullptr, nullptr) == ERROR_SUCCESS &&
           type == REG_LINK;
}

std::uint64_t LastWrite(HKEY key) {
    FILETIME time = {};
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                     nullptr, &time);
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

std::vector<std::wstring> SubkeyNames(HKEY key) {
    std::vector<std::wstring> names;
    std::vector<wchar_t> name(longestName);
    for (DWORD index = 0;; ++index) {
        DWORD length = longestName;
        if (RegEnumKeyExW(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            return names;
        }
        names.emplace_back(name.data(), length);
    }
}

} // namespace

bool RegistrySnapshot::NameOrder::operator()(const std::wstring& left, const std::wstring& right) const {
    return CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_LESS_THAN;
}

RegistrySnapshot::RegistrySnapshot(HKEY key) {
    link = key == nullptr || IsLink(key);
    if (link) {
        return;
    }
    lastWrite = LastWrite(key);
    values = ReadValues(key);
    for (const std::wstring& name : SubkeyNames(key)) {
        subkeys.emplace(name, RegistrySnapshot(OpenSubkey(key, name).get()));
    }
}

RegistrySnapshot::Values RegistrySnapshot::ReadValues(HKEY key) {
    DWORD longestData = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                     &longestData, nullptr, nullptr);
    Values found;
    std::vector<wchar_t> name(longestName);
    std::vector<BYTE> data(longestData + 1);
    for (DWORD index = 0;; ++index) {
        DWORD length = longestName;
        DWORD size = longestData;
        DWORD type = 0;
        if (RegEnumValueW(key, index, name.data(), &length, nullptr, &type, data.data(), &size) !=
            ERROR_SUCCESS) {
            return found;
        }
        found[std::wstring(name.data(), length)] = {type, std::vector<BYTE>(data.data(), data.data() + size)};
    }
}

void RegistrySnapshot::Restore(HKEY key) {
    if (link) {
        return;
    }
    const bool changed = LastWrite(key) != lastWrite;
    if (changed) {
        RestoreContent(key);
    }
    for (auto& [name, content] : subkeys) {
        content.Restore(OpenSubkey(key, name).get());
    }
    if (changed) {
        lastWrite = LastWrite(key);
    }
}

void RegistrySnapshot::RestoreContent(HKEY key) const {
    RestoreValues(key);
    RemoveAddedKeys(key);
    AddRemovedKeys(key);
}

void RegistrySnapshot::RestoreValues(HKEY key) const {
    const Values present = ReadValues(key);
    for (const auto& [name, value] : present) {
        if (!values.contains(name)) {
            RegDeleteValueW(key, name.c_str());
        }
    }
    for (const auto& [name, value] : values) {
        const auto found = present.find(name);
        if (found == present.end() || found->second != value) {
            RegSetValueExW(key, name.c_str(), 0, value.type, value.data.data(),
                           static_cast<DWORD>(value.data.size()));
        }
    }
}

void RegistrySnapshot::RemoveAddedKeys(HKEY key) const {
    for (const std::wstring& name : SubkeyNames(key)) {
        if (!subkeys.contains(name)) {
            RegDeleteTreeW(key, name.c_str());
        }
    }
}

void RegistrySnapshot::AddRemovedKeys(HKEY key) const {
    for (const auto& [name, content] : subkeys) {
        if (OpenSubkey(key, name) == nullptr) {
            HKEY created = nullptr;
            RegCreateKeyExW(key, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &created, nullptr);
            OpenKey(created).reset();
        }
    }
}

} // namespace keyreap::corpus
