#include "kit/live/registrytree.h"

namespace keyreap {

namespace {

constexpr DWORD longestValueName = 16'383; // names of keys are shorter

} // namespace

bool NameOrder::operator()(const std::wstring& left, const std::wstring& right) const {
    return CompareStringOrdinal(left.c_str(), static_cast<int>(left.size()), right.c_str(),
                                static_cast<int>(right.size()), TRUE) == CSTR_LESS_THAN;
}

TreeReader::TreeReader() : name(longestValueName + 1) {}

OwnedRegistryKey TreeReader::Open(HKEY key, const std::wstring& name) {
    HKEY opened = nullptr;
    // A name with a NUL would be that of another key.
    if (key != nullptr && name.find(L'\0') == std::wstring::npos) {
        RegOpenKeyExW(key, name.c_str(), REG_OPTION_OPEN_LINK, treeAccess, &opened);
    }
    return OwnedRegistryKey(opened);
}

TreeReader::Summary TreeReader::SummaryOf(HKEY key) {
    Summary summary;
    FILETIME time{};
    if (key != nullptr) {
        RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &summary.subkeys, nullptr, nullptr, &summary.values,
                         nullptr, &summary.longestData, nullptr, &time);
    }
    summary.lastWrite = std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    return summary;
}

std::vector<std::wstring> TreeReader::SubkeyNames(HKEY key, const Summary& summary) {
    std::vector<std::wstring> names;
    names.reserve(summary.subkeys);
    for (DWORD index = 0; index < summary.subkeys; ++index) {
        auto length = static_cast<DWORD>(name.size());
        if (RegEnumKeyExW(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            break;
        }
        names.emplace_back(name.data(), length);
    }
    return names;
}

RegistryValues TreeReader::Values(HKEY key, const Summary& summary) {
    RegistryValues values;
    if (data.size() <= summary.longestData) {
        data.resize(std::size_t{summary.longestData} + 1);
    }
    for (DWORD index = 0; index < summary.values; ++index) {
        auto length = static_cast<DWORD>(name.size());
        auto size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (RegEnumValueW(key, index, name.data(), &length, nullptr, &type, data.data(), &size) !=
            ERROR_SUCCESS) {
            break;
        }
        values[std::wstring(name.data(), length)] = {type, {data.data(), data.data() + size}};
    }
    return values;
}

RegistryTree TreeReader::Tree(HKEY key) {
    RegistryTree tree;
    const Summary summary = SummaryOf(key);
    tree.lastWrite = summary.lastWrite;
    tree.values = Values(key, summary);
    for (const std::wstring& subkey : SubkeyNames(key, summary)) {
        tree.subkeys.emplace(subkey, Tree(Open(key, subkey).Get()));
    }
    return tree;
}

} // namespace keyreap
