#pragma once

#include "platform/os/ownedhandle.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace keyreap {

// The access with which trees are read: 32-bit and 64-bit processes see the same keys.
inline constexpr REGSAM treeAccess = KEY_READ | KEY_WOW64_64KEY;

// As the system compares the names of keys and values.
struct NameOrder {
    using is_transparent = void;
    bool operator()(const std::wstring& left, const std::wstring& right) const;
};

struct RegistryData {
    DWORD type = 0;
    std::vector<std::uint8_t> bytes;

    bool operator==(const RegistryData&) const = default;
};

using RegistryValues = std::map<std::wstring, RegistryData, NameOrder>;

// A key as it was at one time, with all keys below it. A key that couldn't be opened is empty.
struct RegistryTree {
    std::uint64_t lastWrite = 0;
    RegistryValues values;
    std::map<std::wstring, RegistryTree, NameOrder> subkeys;
};

// Reads keys; the buffers are kept from key to key. Every failure counts as the end of what there is.
class TreeReader {
public:
    TreeReader();

    // A subkey that isn't followed if it is a link; none if it can't be opened.
    static OwnedRegistryKey Open(HKEY key, const std::wstring& name);

    // What a key has beside its values; the values, and the names below, are as many as it says.
    struct Summary {
        std::uint64_t lastWrite = 0;
        DWORD subkeys = 0;
        DWORD values = 0;
        DWORD longestData = 0;
    };
    static Summary SummaryOf(HKEY key);

    std::vector<std::wstring> SubkeyNames(HKEY key, const Summary& summary);
    RegistryValues Values(HKEY key, const Summary& summary);
    RegistryTree Tree(HKEY key);

private:
    std::vector<wchar_t> name;
    std::vector<std::uint8_t> data;
};

} // namespace keyreap
