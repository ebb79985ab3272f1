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

// What a key and all keys below it hold, kept in memory, so that the key can be given just that again. A
// symbolic link is part of it as a key without content: neither is what lies behind it followed, nor is it
// ever changed. Keys that can't be opened count as empty. A key whose time of the last write is still the
// same is not read again.
class RegistrySnapshot {
public:
    // Of a key that doesn't matter: nothing is ever restored.
    RegistrySnapshot() = default;
    explicit RegistrySnapshot(HKEY key);

    // Takes away what was added below `key`, and puts back what was changed or removed.
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
