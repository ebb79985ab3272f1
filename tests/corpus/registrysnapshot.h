#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace keyreap::corpus {

struct KeyCloser {
    using pointer = HKEY;
    void operator()(HKEY key) const { RegCloseKey(key); }
};
using OpenKey = std::unique_ptr<HKEY, KeyCloser>;

// The content of a key and of all keys below it, so that it can be restored later. Symbolic links are neither
// followed nor changed. Keys that can't be opened count as empty. A key is not read again if the time of its
// last write is unchanged.
class RegistrySnapshot {
public:
    // An empty snapshot, which restores nothing.
    RegistrySnapshot() = default;
    explicit RegistrySnapshot(HKEY key);

    // Removes what was added below `key`, and restores what was changed or removed.
    void Restore(HKEY key);

private:
    struct Value {
        DWORD type = 0;
        std::vector<BYTE> data;

        bool operator==(const Value&) const = default;
    };
    struct NameOrder {
        bool operator()(const std::wstring& left, const std::wstring& right) const;
    };
    using Values = std::map<std::wstring, Value, NameOrder>;

    static Values ReadValues(HKEY key);
    void RestoreContent(HKEY key) const;
    void RestoreValues(HKEY key) const;
    void RemoveAddedKeys(HKEY key) const;
    void AddRemovedKeys(HKEY key) const;

    bool link = true;
    std::uint64_t lastWrite = 0;
    Values values;
    std::map<std::wstring, RegistrySnapshot, NameOrder> subkeys;
};

} // namespace keyreap::corpus
